#pragma once

#include "filtrix/typetag.h"

#include <cstdint>
#include <span>
#include <string_view>

/// The words by which perception filters talk to one another: the properties of people and objects, each with its key,
/// the type of its value and what it says. Everything about a property is derived from the three tables here.

// clang-format off
#define FILTRIX_HUMAN_PROPERTIES(X)                                                                \
  X(BodyWidth, 0, Float, "Width of the body at the shoulders, metres.")                            \
  X(ShoulderRoi, 1, Region2, "The box of the shoulders, in full-frame pixels.")                    \
  X(BodyLimit, 2, Integer, "Row of the full frame where the body ends below.")                     \
  X(ColorDescriptor, 4, Histogram, "Colours of the torso, for comparison.")                        \
  X(ColorDescriptorData, 5, Histogram, "How many pixels stand behind each bin of ColorDescriptor.") \
  X(EngagementZone, 9, Integer, "1 is the nearest zone, 3 the farthest, 0 not yet known.")         \
  X(Head3DPosition, 10, Vector3, "Top of the head in the robot frame, metres.")                    \
  X(GroundPositionInWorldFrame, 13, Vector2, "Where the body stands, world frame, metres.")        \
  X(GroundPositionInRobotFrame, 14, Vector2, "Where the body stands, robot frame, metres.")        \
  X(Height, 16, Float, "Height above the ground, metres.")                                         \
  X(MaxHeight, 17, Float, "The greatest height seen, metres.")                                     \
  X(AngularPosition, 18, Vector2, "Bearing and elevation of the head as the camera sees it, radians.") \
  X(FaceDetected, 20, Boolean, "A face was found in the last search.")                             \
  X(Timestamp, 21, Time, "When the person was last seen.")                                         \
  X(ApproachedRobot, 22, Boolean, "Came into a nearer zone in this run.")                          \
  X(MovedAwayFromRobot, 23, Boolean, "Went into a farther zone in this run.")                      \
  X(EnteredZone1, 24, Boolean, "Came into zone 1 in this run.")                                    \
  X(EnteredZone2, 25, Boolean, "Came into zone 2 in this run.")                                    \
  X(EnteredZone3, 26, Boolean, "Came into zone 3 in this run.")                                    \
  X(AssociatedMovements, 27, Array, "The moving objects that belong to the person.")               \
  X(TorsoMask, 28, BinaryImage, "The torso in TorsoMaskRoi.")                                      \
  X(TorsoMaskRoi, 29, Region2, "Where the torso stands in the colour image, pixels.")              \
  X(TorsoMaskRoiInDepthImage, 30, Region2, "The same in the depth image.")                         \
  X(HeadCount, 31, Integer, "How many heads the blob shows.")                                      \
  X(StartedWavingLeft, 33, Boolean, "A wave on the left is told in this run.")                     \
  X(WavingStampLeft, 34, Time, "When a wave on the left was last told.")                           \
  X(StartedWavingRight, 35, Boolean, "A wave on the right is told in this run.")                   \
  X(WavingStampRight, 36, Time, "When a wave on the right was last told.")                         \
  X(StartedWavingCenter, 37, Boolean, "A wave in the centre is told in this run.")                 \
  X(WavingStampCenter, 38, Time, "When a wave in the centre was last told.")                       \
  X(LeftHandImagePosition, 40, Vector2, "Where the hand on the left was last seen, full-frame pixels.") \
  X(LeftHandMovements, 41, Array, "The movements of this run on the left.")                        \
  X(LeftHandPositions, 42, Array, "The hand positions of the last seconds on the left, metres.")   \
  X(LeftHandTimes, 43, Array, "The time of each of them.")                                         \
  X(IsWavingLeft, 44, Boolean, "The hand on the left waves.")                                      \
  X(IsMovingLeft, 45, Boolean, "The hand on the left moved in this run.")                          \
  X(RightHandImagePosition, 47, Vector2, "Where the hand on the right was last seen, full-frame pixels.") \
  X(RightHandMovements, 48, Array, "The movements of this run on the right.")                      \
  X(RightHandPositions, 49, Array, "The hand positions of the last seconds on the right, metres.") \
  X(RightHandTimes, 50, Array, "The time of each of them.")                                        \
  X(IsWavingRight, 51, Boolean, "The hand on the right waves.")                                    \
  X(IsMovingRight, 52, Boolean, "The hand on the right moved in this run.")                        \
  X(CenterHandImagePosition, 54, Vector2, "Where the hand on the center was last seen, full-frame pixels.") \
  X(CenterHandMovements, 55, Array, "The movements of this run on the center.")                    \
  X(CenterHandPositions, 56, Array, "The hand positions of the last seconds on the center, metres.") \
  X(CenterHandTimes, 57, Array, "The time of each of them.")                                       \
  X(IsWavingCenter, 58, Boolean, "The hand on the center waves.")                                  \
  X(IsVisible, 59, Boolean, "Seen in this run.")                                                   \
  X(IsSupposedToBeVisible, 60, Boolean, "Should be in view, seen or not.")                         \
  X(FirstDetectionTime, 61, Time, "When the track began.")                                         \
  X(IsJustConfirmed, 62, Boolean, "The track was confirmed in this run.")                          \
  X(DetectionCount, 63, Integer, "How often the candidate was seen.")                              \
  X(IsConfirmedTrack, 64, Boolean, "The track is a person, not a candidate.")                      \
  X(LookingMissCount, 65, UnsignedInteger, "Scores below the threshold since the last above it.")  \
  X(IsLookingAtRobot, 66, Boolean, "Looks at the robot.")                                          \
  X(HasFaceDetectionRun, 71, Boolean, "Present when faces were looked for in this run.")           \
  X(JustSatDown, 76, Boolean, "Sat down in this run.")                                             \
  X(JustStoodUp, 77, Boolean, "Stood up in this run.")                                             \
  X(PostureState, 78, Integer, "0 unknown, 1 standing, 2 sitting.")                                \
  X(ShirtColorName, 79, String, "The name of the shirt's colour.")                                 \
  X(ShirtColorNameHistory, 80, Histogram, "How often each colour name was found.")                 \
  X(ShirtColorHistogram, 81, Histogram, "The share of each colour name in this run.")              \
  X(ShirtColor, 82, Vector3, "The shirt's colour: red, green, blue, 0 to 255.")                    \
  X(StartedLooking, 83, Boolean, "Began to look at the robot in this run.")                        \
  X(StoppedLooking, 84, Boolean, "Ceased to look at the robot in this run.")

#define FILTRIX_OBJECT3D_PROPERTIES(X)                                                             \
  X(IsLevitating, 4, Boolean, "Nothing carries the object.")                                       \
  X(Cloud3D, 5, Array, "Points of the object in the robot frame, metres.")                         \
  X(PositionInTorsoFrame, 6, Vector6, "Where the object is, torso frame, metres.")                 \
  X(PositionInRobotFrame, 7, Vector6, "Where the object is, robot frame, metres.")                 \
  X(PositionInWorldFrame, 8, Vector6, "Where the object is, world frame, metres.")                 \
  X(EngagementZone, 9, Integer, "1 is the nearest zone, 3 the farthest.")                          \
  X(HorizontalHistogram, 10, Histogram, "Per column of the mask, the height of its filled part, pixels.") \
  X(BlobBottomDistance, 11, Integer, "Distance at the lower end, millimetres.")                    \
  X(MainPlaneEquation, 12, Vector4, "a, b, c, d of the plane a x + b y + c z + d = 0 through the body.") \
  X(HasMovementData, 16, Integer, "Movement was looked for.")                                      \
  X(PixelCount, 20, Integer, "Pixels of the object.")                                              \
  X(ReconstructedDepthImage, 21, DepthImage, "The depth of the object within Region2D, 0 elsewhere.") \
  X(Mask, 22, BinaryImage, "The object within Region2D.")                                          \
  X(Distance, 23, Integer, "Median depth, millimetres.")                                           \
  X(SizeImage, 24, Vector2, "Size of the segmented image, pixels.")                                \
  X(SizeImageOfCamera, 25, Vector2, "Size of the camera's frame, pixels.")                         \
  X(Region2D, 26, Region2, "The bounding box in the segmented image, pixels.")                     \
  X(CenterOfMass, 27, Vector2, "The mean place of the pixels, in the segmented image.")            \
  X(RealVisibleSize, 28, Vector2, "Width and height of what is seen, metres.")                     \
  X(TopBorderTouched, 29, Boolean, "The object reaches the upper border.")                         \
  X(BottomBorderTouched, 30, Boolean, "The object reaches the lower border.")                      \
  X(LeftBorderTouched, 31, Boolean, "The object reaches the left border.")                         \
  X(RightBorderTouched, 32, Boolean, "The object reaches the right border.")                       \
  X(HiddenByOtherBlob, 33, Boolean, "Something nearer hides a part of it.")                        \
  X(CameraPositionTorso, 34, Vector6, "The camera's pose in the torso frame, metres and radians.") \
  X(CameraPositionRobot, 35, Vector6, "The camera's pose in the robot frame.")                     \
  X(CameraPositionWorld, 36, Vector6, "The camera's pose in the world frame.")                     \
  X(TopIsVerticallyOffset, 37, Boolean, "The top is not the real one: an offset was or must be applied.") \
  X(TopOfBlob, 38, Vector2, "The top of the object, in the segmented image.")                      \
  X(TopOfBlobDist, 39, Integer, "Distance at the top, millimetres.")                               \
  X(PossibleHeads, 40, Array, "The columns of possible heads, counted from the left of Region2D.") \
  X(MatchedObjects, 41, Array, "Objects of the other segmentation that lie on this one.")          \
  X(MatchedReference, 42, Object3D, "The object of the reference segmentation that this one lies on, as it was before the match.")

#define FILTRIX_OBJECT2D_PROPERTIES(X)                                                             \
  X(PositionInTorsoFrame, 6, Vector6, "Where the object is, torso frame, metres.")                 \
  X(PositionInRobotFrame, 7, Vector6, "Where the object is, robot frame, metres.")                 \
  X(PositionInWorldFrame, 8, Vector6, "Where the object is, world frame, metres.")                 \
  X(EngagementZone, 9, Integer, "1 is the nearest zone, 3 the farthest.")                          \
  X(FaceRegions, 10, Array, "The faces in the object's image: Region2 in its pixels.")             \
  X(Image, 12, ColorImage, "The object's colour image.")                                           \
  X(GrayscaleImage, 13, GrayscaleImage, "The object's gray image.")                                \
  X(PixelCount, 14, Integer, "Pixels of the object.")                                              \
  X(Mask, 15, BinaryImage, "The object within Region2D.")                                          \
  X(Distance, 16, Integer, "Distance, millimetres.")                                               \
  X(SizeImage, 17, Vector2, "Size of the segmented image, pixels.")                                \
  X(Region2D, 18, Region2, "The bounding box in the segmented image, pixels.")                     \
  X(SizeImageOfCamera, 19, Vector2, "Size of the camera's frame, pixels.")                         \
  X(CenterOfMass, 20, Vector2, "The mean place of the pixels, in the segmented image.")            \
  X(FieldOfView, 21, Vector2, "The camera's full fields of view, horizontal and vertical, radians.") \
  X(TopBorderTouched, 29, Boolean, "The object reaches the upper border.")                         \
  X(BottomBorderTouched, 30, Boolean, "The object reaches the lower border.")                      \
  X(LeftBorderTouched, 31, Boolean, "The object reaches the left border.")                         \
  X(RightBorderTouched, 32, Boolean, "The object reaches the right border.")                       \
  X(CameraPositionTorso, 34, Vector6, "The camera's pose in the torso frame, metres and radians.") \
  X(CameraPositionRobot, 35, Vector6, "The camera's pose in the robot frame.")                     \
  X(CameraPositionWorld, 36, Vector6, "The camera's pose in the world frame.")                     \
  X(TopOfBlob, 38, Vector2, "The top of the object, in the segmented image.")                      \
  X(MatchedObjects, 41, Array, "Objects of the other segmentation that lie on this one.")

// clang-format on

namespace ZR::Filtrix
{
#define FILTRIX_PROPERTY_KEY(name, key, type, doc) name = (key),

/// Keys of `Type::Human` properties.
namespace HumanProperty
{
enum Key : std::int32_t
{
  FILTRIX_HUMAN_PROPERTIES(FILTRIX_PROPERTY_KEY)
};
}  // namespace HumanProperty

/// Keys of `Type::Object3D` properties.
namespace Object3DProperty
{
enum Key : std::int32_t
{
  FILTRIX_OBJECT3D_PROPERTIES(FILTRIX_PROPERTY_KEY)
};
}  // namespace Object3DProperty

/// Keys of `Type::Object2D` properties.
namespace Object2DProperty
{
enum Key : std::int32_t
{
  FILTRIX_OBJECT2D_PROPERTIES(FILTRIX_PROPERTY_KEY)
};
}  // namespace Object2DProperty

#undef FILTRIX_PROPERTY_KEY

/// What is known of a property.
struct PropertyDescription
{
  std::int32_t key;
  std::string_view name;
  std::string_view type;  ///< the name of the value's type
  std::string_view doc;
};

/// All properties of a kind, in ascending order of their keys.
[[nodiscard]] std::span<const PropertyDescription> humanProperties() noexcept;
[[nodiscard]] std::span<const PropertyDescription> object3DProperties() noexcept;
[[nodiscard]] std::span<const PropertyDescription> object2DProperties() noexcept;

/// The names under which a person's objects and scores stand.
namespace ObjectName
{
inline constexpr const char* object3D = "3D";
inline constexpr const char* bodyImage = "BodyImage";
}  // namespace ObjectName

namespace ScoreName
{
inline constexpr const char* bodyDensity = "BodyDensity";
inline constexpr const char* bodySize = "BodySize";
inline constexpr const char* shapeIsVertical = "ShapeIsVertical";
inline constexpr const char* visibleSize = "VisibleSize";
inline constexpr const char* forNewTrack = "ForNewTrack";
inline constexpr const char* lookingAtRobot = "LookingAtRobot";
inline constexpr const char* notHiddenByOtherBlob = "NotHiddenByOtherBlob";
inline constexpr const char* notLevitating = "NotLevitating";
}  // namespace ScoreName
}  // namespace ZR::Filtrix
