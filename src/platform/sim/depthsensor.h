#pragma once

#include "platform/sim/noise.h"

#include <opencv2/core/mat.hpp>

namespace ZR::Sim
{
/// What a structured-light camera makes of the true depth. Sources: J. Barron, J. Malik, "Intrinsic Scene Properties
/// from a Single RGB-D Image", CVPR 2013 (the step); C. Nguyen, S. Izadi, D. Lovell, "Modeling Kinect Sensor Noise for
/// Improved 3D Reconstruction and Tracking", 3DIMPVT 2012 (the noise); K. Khoshelham, S. Elberink, "Accuracy and
/// Resolution of Kinect Depth Data for Indoor Mapping Applications", Sensors 12, 2012 (shadows and ranges).
struct DepthSensor
{
  bool isPerfect = false;   ///< only the range holds
  float nearest = 0.4F;     ///< metres; nothing nearer is measured
  float farthest = 8.0F;    ///< metres
  float baseline = 0.075F;  ///< metres from the camera to the projector at its left
  float edgeLoss = 0.5F;    ///< how many of the pixels beside an edge are lost
  float edgeStep = 0.06F;   ///< of the depth: what makes an edge
};

/// The measured depth in millimetres, 0 for no measurement. `depth` is in metres along the axis, `lost` is not zero
/// where a surface gives nothing back, `focal` are the pixels per metre at a depth of one metre.
[[nodiscard]] cv::Mat1w measure(const DepthSensor& sensor, const cv::Mat1f& depth, const cv::Mat1b& lost, float focal,
                                const Noise& noise);
}  // namespace ZR::Sim
