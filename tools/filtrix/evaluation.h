#pragma once

#include "platform/sim/truth.h"
#include "tools/filtrix/personview.h"

#include <nlohmann/json_fwd.hpp>

#include <array>
#include <map>
#include <memory>
#include <string>
#include <vector>

/// How well people are seen, by what is really there.
namespace ZR::Filtrix::Tool
{
/// One moment: what is there, and what was found.
struct JudgedFrame
{
  Sim::FrameTruth truth;
  std::vector<PersonView> found;
  double latency = 0.0;  ///< milliseconds of computing
};

/// Whether a person must be found: who is between 0.8 m and 4 m away and of whom two fifths are seen, with the head.
[[nodiscard]] bool isCounted(const Sim::PersonTruth& person);

/// Right and wrong answers to a yes-or-no question.
struct Answers
{
  int truePositives = 0;
  int falsePositives = 0;
  int falseNegatives = 0;

  void add(bool isSo, bool isSaid);
  Answers& operator+=(const Answers& other);

  /// From 0 to 1; 1 where there was nothing to say and nothing was said.
  [[nodiscard]] double precision() const;
  [[nodiscard]] double recall() const;
  [[nodiscard]] double f1() const;
};

/// A sum that is later divided by its count.
struct Mean
{
  double sum = 0.0;
  int count = 0;

  void add(double value);
  Mean& operator+=(const Mean& other);
  [[nodiscard]] double value() const;  ///< 0 for none
};

/// The figures of a scene, or of several together.
///
/// People who are not counted may be found or not. Found people belong to those who are there by the rules of K.
/// Bernardin, R. Stiefelhagen, "Evaluating Multiple Object Tracking Performance: The CLEAR MOT Metrics", 2008, within
/// half a metre; IDF1 is that of E. Ristani et al., "Performance Measures and a Data Set for Multi-Target, Multi-Camera
/// Tracking", 2016.
struct Figures
{
  /// Metres; detection is told for each band.
  static constexpr std::array<double, 4> bands{0.8, 1.5, 2.5, 4.0};

  int frames = 0;
  double seconds = 0.0;
  int people = 0;       ///< in all frames, who count
  int misses = 0;       ///< of them
  int falsePeople = 0;  ///< found in all frames where nobody is
  int falseTracks = 0;  ///< times that somebody began to be found where nobody is
  int switches = 0;     ///< of identity
  int idTruePositives = 0;
  int idFound = 0;  ///< found in all frames, who count or are false
  std::array<Answers, 3> detection;
  Mean position;    ///< metres
  Mean height;      ///< metres
  Mean zone;        ///< 1 for right, 0 for wrong
  Mean timeToFind;  ///< seconds
  Answers looking;
  Answers waving;
  Answers sitting;
  std::map<std::string, Answers> events;
  std::vector<double> latencies;  ///< milliseconds

  Figures& operator+=(const Figures& other);
  [[nodiscard]] double detectionRate() const;
  [[nodiscard]] double mota() const;
  [[nodiscard]] double idf1() const;
  [[nodiscard]] double falsePerMinute() const;

  /// The value at a share of the sorted latencies.
  [[nodiscard]] double latency(double share) const;
};

/// Judges frames of one scene in the order of time.
class Judge final
{
public:
  Judge();
  ~Judge();
  Judge(const Judge&) = delete;
  Judge& operator=(const Judge&) = delete;

  void add(const JudgedFrame& frame);

  /// After the last frame.
  [[nodiscard]] Figures figures() const;

private:
  class Impl;

  const std::unique_ptr<Impl> impl;
};

/// A table with a line for each scene and one for all.
[[nodiscard]] std::string tableOf(const std::map<std::string, Figures>& scenes);

/// The same figures, by scene, by name.
[[nodiscard]] nlohmann::json toJson(const Figures& figures);
}  // namespace ZR::Filtrix::Tool
