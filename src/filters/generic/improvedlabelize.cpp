#include "filters/generic/filterinputs.h"
#include "filters/generic/genericfilter.h"
#include "filters/generic/labelize.h"
#include "filters/generic/morphology.h"
#include "filtrix/image.h"

namespace ZR::Filtrix::Filters
{
namespace
{
constexpr const char* category = "filtrix.filter.improvedlabelize";

int toleranceOf(const DataPtr& value)
{
  return value ? value->toInt() : 0;
}

// In float, the ports' own type, so that the same share of the same image gives the same bound everywhere.
int toPixels(float share, const cv::Mat& image)
{
  const float pixels = share * static_cast<float>(image.rows) * static_cast<float>(image.cols);
  return truncateToInt(static_cast<double>(pixels));
}
}  // namespace

/// Closes small gaps in an image, splits it into regions of connected pixels and drops those too small or too large.
///
/// | Port                   | Types                                 | Meaning                                |
/// |------------------------|---------------------------------------|----------------------------------------|
/// | inputImage             | BinaryImage DepthImage GrayscaleImage | 0 is background; depth in millimetres  |
/// | toleranceH, toleranceV | Integer, optional, 0                  | how neighbours in a row, a column may differ |
/// | kernel                 | Integer                               | side of the dilation's square, pixels  |
/// | min, max               | Float                                 | shares of the image; a max of 0: all   |
/// | labelizedImage         | LabelImage                            | 1, 2, ... in the order of first pixels |
/// | dilatedImage           | as `inputImage`                       | what was labelled                      |
///
/// The tolerances do not count for binary images; an even kernel is raised by 1.
///
/// Wrong inputs and a negative kernel are logged on "filtrix.filter.improvedlabelize" and give no output; an empty
/// image gives no labels. Stateless.
class ImprovedLabelize final : public GenericFilter
{
public:
  ImprovedLabelize() : GenericFilter("ImprovedLabelize", "Dilates an image and numbers its regions of allowed sizes.")
  {
    input("inputImage", {TypeTag::BinaryImage, TypeTag::DepthImage, TypeTag::GrayscaleImage});
    optionalInput("toleranceH", {TypeTag::Integer});
    optionalInput("toleranceV", {TypeTag::Integer});
    input("kernel", {TypeTag::Integer});
    input("min", {TypeTag::Float});
    input("max", {TypeTag::Float});
    output("labelizedImage", {TypeTag::LabelImage});
    output("dilatedImage", {TypeTag::BinaryImage, TypeTag::DepthImage, TypeTag::GrayscaleImage});
  }

  DataList applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t) override;
};

DataList ImprovedLabelize::applyFilter(const DataList& inputs, const ProcessKey&, const ProcessKey&, std::uint64_t)
{
  const bool complete = inputs.size() == 6 && inputs[0] && typeOf(inputs[3]) == TypeTag::Integer &&
                        typeOf(inputs[4]) == TypeTag::Float && typeOf(inputs[5]) == TypeTag::Float;
  const int kernel = complete ? inputs[3]->toInt() | 1 : 0;  // an even one is raised
  if (kernel < 1)
  {
    logInvalidInput(category, "ImprovedLabelize");
    return {};
  }
  const TypeTag type = typeOf(inputs[0]);
  if (!isOneOf(type, {TypeTag::BinaryImage, TypeTag::GrayscaleImage, TypeTag::DepthImage}))
  {
    logInvalidInput(category, "Labelize");
    return {};
  }

  const cv::Mat dilated = applyMorphology(Type::toCvMat(*inputs[0]), Morphology::Dilation, kernel);
  constexpr int anyStep = 255;
  const bool binary = type == TypeTag::BinaryImage;
  cv::Mat labels;
  labelize(dilated, labels, binary ? anyStep : toleranceOf(inputs[1]), binary ? anyStep : toleranceOf(inputs[2]),
           toPixels(inputs[4]->toFloat(), dilated), toPixels(inputs[5]->toFloat(), dilated));
  return {labels.empty() ? nullptr : Type::toData(TypeTag::LabelImage, labels, *inputs[0]),
          Type::toData(type, dilated, *inputs[0])};
}

FilterPtr makeImprovedLabelize()
{
  return std::make_shared<ImprovedLabelize>();
}
}  // namespace ZR::Filtrix::Filters
