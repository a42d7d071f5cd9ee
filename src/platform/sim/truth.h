#pragma once

#include "platform/sim/photographer.h"

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <vector>

/// What is really there at a moment, to judge programs by.
namespace ZR::Sim
{
/// A place on the ground, metres.
struct GroundPlace
{
  float x = 0.0F;
  float y = 0.0F;
};

struct PersonTruth
{
  int id = 0;  ///< the actor's number, from 1 on
  std::string name;
  GroundPlace world;  ///< of the body's axis; the robot's frame is the world's
  GroundPlace torso;
  float distance = 0.0F;       ///< metres on the ground, from the robot
  float bearing = 0.0F;        ///< radians, to the left positive
  float height = 0.0F;         ///< metres from the ground to the top of the head, now
  float visible = 0.0F;        ///< which share of the whole body the depth camera sees, 0 to 1
  bool headIsVisible = false;  ///< at least half of the head's width, to the depth camera
  bool faceIsVisible = false;  ///< to the top camera: the whole face, turned to it by less than 45 degrees
  bool isLooking = false;      ///< at the robot: the head is turned to it by less than 20 degrees
  bool wavesLeft = false;      ///< with the hand at the left as the robot sees it
  bool wavesRight = false;
  bool isSitting = false;
  bool isMoving = false;  ///< walks
  int zone = 3;           ///< of engagement
};

/// The limits of the engagement zones.
struct ZoneLimits
{
  float degrees = 60.0F;  ///< to each side
  float first = 1.5F;     ///< metres
  float second = 2.5F;    ///< metres
};

struct FrameTruth
{
  double time = 0.0;  ///< seconds since the robot's start
  std::vector<PersonTruth> people;
};

/// The people who are on the stage. Pets are not told.
[[nodiscard]] FrameTruth truthAt(const Photographer& photographer, double time, const ZoneLimits& zones = {});

/// An object with the members of `FrameTruth`; a file of ground truth has one a line.
[[nodiscard]] nlohmann::json toJson(const FrameTruth& truth);
}  // namespace ZR::Sim
