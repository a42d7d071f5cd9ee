#pragma once

#include "filtrix/userfilter.h"

#include <memory>
#include <vector>

namespace ZR::Filtrix
{
class LambdaFactory;
}

/// The perception library: seventy-one filters that find people in depth and colour images and follow, score and
/// describe them. Each stands in the file of its name, which tells what it does, from what and by which method.
namespace ZR::Filtrix::Filters
{
std::shared_ptr<UserFilter> makeAddClosePixelsToDepthImage();
std::shared_ptr<UserFilter> makeAnalyseBodySize();
std::shared_ptr<UserFilter> makeAppearingOcclusion2D();
std::shared_ptr<UserFilter> makeAppearingOcclusion3D();
std::shared_ptr<UserFilter> makeApplyVerticalOffset();
std::shared_ptr<UserFilter> makeBodyLimits();
std::shared_ptr<UserFilter> makeCamMovement();
std::shared_ptr<UserFilter> makeCheckFaceDetection();
std::shared_ptr<UserFilter> makeCheckLevitation();
std::shared_ptr<UserFilter> makeCheckMovementDetection();
std::shared_ptr<UserFilter> makeCollapse();
std::shared_ptr<UserFilter> makeColorDescriptor();
std::shared_ptr<UserFilter> makeCompute3DClouds();
std::shared_ptr<UserFilter> makeCompute3DPositions();
std::shared_ptr<UserFilter> makeComputeDistanceFromSize();
std::shared_ptr<UserFilter> makeComputeEngagementZones();
std::shared_ptr<UserFilter> makeComputeHorizontalHistogram();
std::shared_ptr<UserFilter> makeComputeInvalidPixelsMask();
std::shared_ptr<UserFilter> makeComputeProjectionImages();
std::shared_ptr<UserFilter> makeComputeProjectionTables();
std::shared_ptr<UserFilter> makeComputeTopPosition();
std::shared_ptr<UserFilter> makeCreateDummyHeadObject();
std::shared_ptr<UserFilter> makeCreateHuman();
std::shared_ptr<UserFilter> makeCutFloor();
std::shared_ptr<UserFilter> makeDispatchLookingPeople();
std::shared_ptr<UserFilter> makeDispatchVisiblePeople();
std::shared_ptr<UserFilter> makeDisplayAssociatedMovements();
std::shared_ptr<UserFilter> makeDisplayHuman();
std::shared_ptr<UserFilter> makeDisplayHumanHistograms();
std::shared_ptr<UserFilter> makeDisplayObjects();
std::shared_ptr<UserFilter> makeDisplayTopOfNearestBlob();
std::shared_ptr<UserFilter> makeDisplayTwoImages();
std::shared_ptr<UserFilter> makeEngagementZonesChanges();
std::shared_ptr<UserFilter> makeExtractBodyImage();
std::shared_ptr<UserFilter> makeExtractBottomDistance();
std::shared_ptr<UserFilter> makeExtractMainPlane();
std::shared_ptr<UserFilter> makeExtractMovementsFromPopulation(const LambdaFactory& library);
std::shared_ptr<UserFilter> makeExtractObjects();
std::shared_ptr<UserFilter> makeExtractTopOfBlobs();
std::shared_ptr<UserFilter> makeExtractTorsoMask();
std::shared_ptr<UserFilter> makeFaceDetectionFromImage();
std::shared_ptr<UserFilter> makeFaceDetectionFromPopulation();
std::shared_ptr<UserFilter> makeFilterByID();
std::shared_ptr<UserFilter> makeFilterPopulationByScore();
std::shared_ptr<UserFilter> makeFindHeads();
std::shared_ptr<UserFilter> makeForWavingEvents();
std::shared_ptr<UserFilter> makeHeadPoseAnalysis();
std::shared_ptr<UserFilter> makeHumanMovementsAnalysis();
std::shared_ptr<UserFilter> makeHumanTracker();
std::shared_ptr<UserFilter> makeIsLookingAtRobot();
std::shared_ptr<UserFilter> makeMatchObjects3D();
std::shared_ptr<UserFilter> makeNearestHuman();
std::shared_ptr<UserFilter> makeNearestObject();
std::shared_ptr<UserFilter> makeNearPopulation();
std::shared_ptr<UserFilter> makePostureAnalysis();
std::shared_ptr<UserFilter> makeReconstructBlobs();
std::shared_ptr<UserFilter> makeRemoveTooHighObjects();
std::shared_ptr<UserFilter> makeScoreBodyDensity();
std::shared_ptr<UserFilter> makeScoreBodySize();
std::shared_ptr<UserFilter> makeScoreForNewTrack();
std::shared_ptr<UserFilter> makeScoreShapeIsVertical();
std::shared_ptr<UserFilter> makeScoreVisibleSize();
std::shared_ptr<UserFilter> makeSegmentationFromFacePositions();
std::shared_ptr<UserFilter> makeSegmentationToImage();
std::shared_ptr<UserFilter> makeSelectCameraPositions();
std::shared_ptr<UserFilter> makeSetShirtColorName();
std::shared_ptr<UserFilter> makeSplit();
std::shared_ptr<UserFilter> makeSplitHumans(const LambdaFactory& library);
std::shared_ptr<UserFilter> makeTopOfBlob();
std::shared_ptr<UserFilter> makeWavingDetection2D();
std::shared_ptr<UserFilter> makeBodyDetectionFromImage();

/// One of each, in the order above. `library` is where those get others from that apply them; it outlives them.
[[nodiscard]] std::vector<std::shared_ptr<UserFilter>> makePerceptionFilters(const LambdaFactory& library);
}  // namespace ZR::Filtrix::Filters
