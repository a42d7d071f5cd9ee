#pragma once

#include <array>
#include <memory>

namespace ZR::Filtrix
{
class FiltrixPrivate;

/// The programs that are loaded when the module starts, from the data files "zorqa/vision/fxs", in this order.
inline constexpr std::array startUpPrograms{
    "computeclosepixelsmask.fxs",
    "segmentation3D.fxs",
    "improvedsegmentation3d.fxs",
    "topofnearestblob.fxs",
    "extractmovementsfromdepthimage.fxs",
    "movementdetection2d.fxs",
    "movementdetection3d.fxs",
    "movementdetection.fxs",
    "switchfacedetection.fxs",
    "switchmovementdetection.fxs",
    "peopledetection2d.fxs",
    "engagementzonespeople.fxs",
    "engagementzonesmovements.fxs",
    "sittingpeopledetection.fxs",
    "gazeanalysis.fxs",
    "wavingdetection.fxs",
    "closeobjectdetection.fxs",
    "fastpersontracking2d.fxs",
    "fastpersontracking3d.fxs",
    "fastpersontracking.fxs",
    "findpersonhead2d.fxs",
    "findpersonhead3d.fxs",
    "findpersonhead.fxs",
};

/// Gives a registry the generic library and what its programs may make of files: the classifiers.
void addGenericLibrary(FiltrixPrivate& registry);

/// Gives it the perception library, and loads the start-up programs. A program that fails is logged and passed over.
void addPerceptionLibrary(FiltrixPrivate& registry);
}  // namespace ZR::Filtrix
