#include "sources/vision/calibration.h"

#include "filtrix/ku/log.h"
#include "filtrix/ku/os.h"
#include "foundation/ku/filereplacement.h"

#include <fmt/format.h>
#include <opencv2/core.hpp>
#include <opencv2/core/persistence.hpp>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace vision
{
namespace
{
constexpr const char* category = "vision.calibration";

constexpr std::size_t largestFile = std::size_t{1} << 20U;
constexpr int deepestNesting = 32;
constexpr int largestSide = 16384;
constexpr std::size_t longestQuote = 40;

constexpr int cvMat32 = CV_32FC1;
constexpr int cvMat64 = CV_64FC1;

std::string readText(const std::filesystem::path& path)
{
  const ku::os::File file = ku::os::fopen(path, "rb");
  if (!file)
    throw std::runtime_error(fmt::format("Invalid calibration file: \"{}\"", path.string()));
  std::string text(largestFile + 1, '\0');
  text.resize(std::fread(text.data(), 1, text.size(), file.get()));
  if (text.size() > largestFile)
    throw std::runtime_error(fmt::format("expected at most {} bytes, came more", largestFile));
  return text;
}

// How deep the collections of a line may nest, at most: by its indentation, and by each list and each key that it
// opens.
int blockDepthOf(std::string_view line)
{
  std::size_t depth = std::min(line.find_first_not_of(' '), line.size());
  for (std::size_t i = 0; i < line.size(); ++i)
    depth += line[i] == ':' || line.substr(i).starts_with("- ") ? 1U : 0U;
  return static_cast<int>(depth);
}

// The reader of YAML calls itself for each level, so a text of brackets alone would use up the stack.
void requireShallow(const std::string& text)
{
  int flow = 0;
  int deepest = 0;
  for (const char c : text)
  {
    if (c == '[' || c == '{')
      deepest = std::max(deepest, ++flow);
    else if (c == ']' || c == '}')
      flow = std::max(0, flow - 1);
  }
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);)
    deepest = std::max(deepest, blockDepthOf(line));
  if (deepest > deepestNesting)
    throw std::runtime_error(fmt::format("expected at most {} levels of nesting, came {}", deepestNesting, deepest));
}

// What a line of YAML holds: without its end, spaces and a comment that fills it. The reader takes a carriage return
// for the end of a line too.
std::string_view contentOf(std::string_view line)
{
  line = line.substr(0, line.find('\r'));
  const std::size_t end = line.find_last_not_of(" \t");
  line = line.substr(0, end == std::string_view::npos ? 0 : end + 1);
  const std::size_t begin = line.find_first_not_of(' ');
  return begin == std::string_view::npos || line[begin] == '#' ? std::string_view() : line;
}

// One document of keys that start their lines. Behind the end of a first document the reader looks for the mark of the
// next one, and looks for ever when it comes upon another '-' there.
void requireOneDocument(const std::string& text)
{
  bool isMarked = false;
  bool hasBegun = false;
  bool hasEnded = false;
  std::istringstream lines(text);
  for (std::string whole; std::getline(lines, whole);)
  {
    const std::string_view line = contentOf(whole);
    if (line.empty() || (!hasBegun && !isMarked && line.front() == '%'))
      continue;
    const bool marks = !hasBegun && !isMarked && line == "---";
    const bool ends = hasBegun && !hasEnded && line == "...";
    const bool isKey = std::isalnum(static_cast<unsigned char>(line.front())) != 0 || line.front() == '_';
    if (hasEnded || !(marks || ends || hasBegun || isKey) ||
        (!marks && !ends && (line.starts_with("---") || line.starts_with("..."))))
      throw std::runtime_error(fmt::format("expected one YAML document of keys that start their lines, came \"{}\"",
                                           line.substr(0, longestQuote)));
    isMarked = isMarked || marks;
    hasEnded = ends;
    hasBegun = hasBegun || !marks;
  }
}

// A matrix is the one type that a calibration names. Of bytes that are said to be binary the reader looks for the end,
// for ever when it is not there.
void requireMatricesAlone(const std::string& text)
{
  constexpr std::string_view matrix = "!!opencv-matrix";
  const std::string_view whole = text;
  for (std::size_t at = whole.find('!'); at != std::string_view::npos; at = whole.find('!', at + matrix.size()))
  {
    const std::string_view found = whole.substr(at);
    if (!found.starts_with(matrix))
      throw std::runtime_error(fmt::format("expected no type but \"{}\", came \"{}\"", matrix,
                                           found.substr(0, std::min(found.find_first_of(" \r\n"), longestQuote))));
  }
}

bool isWordPart(char c)
{
  return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '.';
}

// The number that begins there, as the reader of YAML takes it (also octal and hexadecimal ones); one beyond 64 bits is
// the greatest or the least. Nothing for a number with a fraction or an exponent.
std::optional<std::int64_t> wholeNumberAt(const std::string& text, std::size_t at)
{
  const std::size_t end = text.find_first_not_of("0123456789", at);
  if (end != std::string::npos && (text[end] == '.' || text[end] == 'e'))
    return std::nullopt;
  const bool isNegative = at > 0 && text[at - 1] == '-';
  return std::strtoll(text.c_str() + (isNegative ? at - 1 : at), nullptr, 0);
}

// The reader cuts whole numbers to 32 bits, so that 4294967936 would come out of it as 640.
void requireSmallNumbers(const std::string& text)
{
  for (std::size_t i = 0; i < text.size(); ++i)
  {
    const bool startsWord = i == 0 || !isWordPart(text[i - 1]);
    if (text[i] == '#' && (i == 0 || std::isspace(static_cast<unsigned char>(text[i - 1])) != 0))
      i = std::min(text.find_first_of(std::string_view("\r\n\0", 3), i), text.size());
    else if (startsWord && std::isdigit(static_cast<unsigned char>(text[i])) != 0)
    {
      const auto number = wholeNumberAt(text, i);
      if (number && !std::in_range<std::int32_t>(*number))
        throw std::runtime_error(
            fmt::format("expected whole numbers of 32 bits, came \"{}\"",
                        text.substr(i, std::min(text.find_first_of(" ,\r\n", i) - i, longestQuote))));
    }
  }
}

// A text would come out of the reader as some number all the same.
int readSide(const cv::FileStorage& file, const char* key)
{
  const cv::FileNode node = file[key];
  const double side = node.isInt() || node.isReal() ? node.real() : 0;
  if (!node.isInt() || !(side >= 1 && side <= largestSide))
    throw std::runtime_error(fmt::format("\"{}\": expected a whole number from 1 to {}, came {}", key, largestSide,
                                         node.isNone()                   ? "nothing"
                                         : node.isInt() || node.isReal() ? fmt::format("{}", side)
                                                                         : "something else"));
  return static_cast<int>(side);
}

struct Shape
{
  int rows;
  int cols;
};

std::string describe(const std::vector<Shape>& shapes)
{
  std::string text;
  for (const Shape& shape : shapes)
    text += fmt::format("{}{} x {}", text.empty() ? "" : ", ", shape.rows, shape.cols);
  return text;
}

// The shape is looked at before the matrix is made, for which a text of a few bytes may want all the memory there is.
cv::Mat readMatrix(const cv::FileStorage& file, const char* key, const std::vector<Shape>& shapes, bool allow64)
{
  const cv::FileNode node = file[key];
  if (!node.isMap())
    throw std::runtime_error(
        fmt::format("\"{}\": expected a matrix, came {}", key, node.isNone() ? "nothing" : "else"));
  const int rows = node["rows"].isInt() ? static_cast<int>(node["rows"]) : 0;
  const int cols = node["cols"].isInt() ? static_cast<int>(node["cols"]) : 0;
  const std::string type = node["dt"].isString() ? node["dt"].string() : std::string();
  const bool fits =
      std::ranges::any_of(shapes, [&](const Shape& shape) { return shape.rows == rows && shape.cols == cols; });
  if (!fits || !(type == "f" || (allow64 && type == "d")))
    throw std::runtime_error(fmt::format("\"{}\": expected {} of type \"f\"{}, came {} x {} of type \"{}\"", key,
                                         describe(shapes), allow64 ? " or \"d\"" : "", rows, cols, type));
  cv::Mat matrix;
  node >> matrix;
  if (matrix.rows != rows || matrix.cols != cols || matrix.type() != (type == "f" ? cvMat32 : cvMat64))
    throw std::runtime_error(fmt::format("\"{}\": expected {} numbers", key, rows * cols));
  if (!cv::checkRange(matrix))
    throw std::runtime_error(fmt::format("\"{}\": expected finite numbers", key));
  return matrix;
}

std::vector<Shape> distortionShapes()
{
  std::vector<Shape> shapes;
  for (const int count : {4, 5, 8, 12, 14})
  {
    shapes.push_back({1, count});
    shapes.push_back({count, 1});
  }
  return shapes;
}

Calibration parse(const std::string& text)
{
  requireShallow(text);
  requireOneDocument(text);
  requireMatricesAlone(text);
  requireSmallNumbers(text);
  const cv::FileStorage file(text, cv::FileStorage::READ | cv::FileStorage::MEMORY | cv::FileStorage::FORMAT_YAML);
  Calibration read;
  read.width = readSide(file, "width");
  read.height = readSide(file, "height");
  read.cameraMatrix = readMatrix(file, "cameraMatrix", {{3, 3}}, false);
  read.distortion = readMatrix(file, "distortion", distortionShapes(), true);
  read.rectificationMatrix = readMatrix(file, "rectificationMatrix", {{3, 3}}, true);
  read.projectionMatrix = readMatrix(file, "projectionMatrix", {{3, 4}}, false);
  return read;
}

void logLoaded(const std::filesystem::path& path, const Calibration& loaded)
{
  if (!ku::log::isEnabled(ku::log::Level::Verbose, category))
    return;
  std::ostringstream text;
  text << "Load calibration file: \"" << path.string() << "\"\nWidth:" << loaded.width << "\nHeight:" << loaded.height
       << "\nCamera matrix:" << loaded.cameraMatrix << "\nDistortion:" << loaded.distortion
       << "\nRectification matrix:" << loaded.rectificationMatrix << "\nProjection matrix:" << loaded.projectionMatrix;
  ku::log::write(ku::log::Level::Verbose, category, text.str());
}

void scale(cv::Mat& matrix, float factor, std::initializer_list<cv::Point> elements)
{
  for (const cv::Point& element : elements)
    matrix.at<float>(element) *= factor;
}

void requireFloats(const cv::Mat& matrix, const char* name, int cols)
{
  if (matrix.rows != 3 || matrix.cols != cols || matrix.type() != CV_32FC1)
    throw std::invalid_argument(
        fmt::format("calibration: the {} matrix is {} x {} of type {}, expected 3 x {} of 32-bit "
                    "floats",
                    name, matrix.rows, matrix.cols, matrix.type(), cols));
}
}  // namespace

Calibration::Calibration(const Calibration& other)
    : width(other.width), height(other.height), cameraMatrix(other.cameraMatrix.clone()),
      distortion(other.distortion.clone()), rectificationMatrix(other.rectificationMatrix.clone()),
      projectionMatrix(other.projectionMatrix.clone())
{
}

Calibration& Calibration::operator=(const Calibration& other)
{
  if (this != &other)
    *this = Calibration(other);
  return *this;
}

void Calibration::load(const std::filesystem::path& path)
try
{
  *this = parse(readText(path));
  logLoaded(path, *this);
}

catch (const std::exception& exception)
{
  ku::log::error(category, "Cannot read calibration file \"{}\": {}", path.string(), exception.what());
  throw;
}

void Calibration::save(const std::filesystem::path& path) const
try
{
  ku::FileReplacement replacement(path);
  if (!replacement.isOpen())
    throw std::runtime_error(fmt::format("Invalid calibration save file:\"{}\"", path.string()));
  cv::FileStorage file(".yml", cv::FileStorage::WRITE | cv::FileStorage::MEMORY | cv::FileStorage::FORMAT_YAML);
  const auto writeEntry = [&](const char* key, const char* text, const auto& value)
  {
    ku::log::write(ku::log::Level::Verbose, category, text);
    cv::write(file, key, value);
  };
  writeEntry("width", "Write calibration width.", width);
  writeEntry("height", "Write calibration height.", height);
  writeEntry("cameraMatrix", "Write camera matrix.", cameraMatrix);
  writeEntry("distortion", "Write distortion matrix.", distortion);
  writeEntry("rectificationMatrix", "Write rectification matrix.", rectificationMatrix);
  writeEntry("projectionMatrix", "Write projection matrix.", projectionMatrix);
  replacement.write(file.releaseAndGetString());
  if (const std::error_code error = replacement.commit())
    throw std::runtime_error(fmt::format("Invalid calibration save file:\"{}\": {}", path.string(), error.message()));
}

catch (const std::exception& exception)
{
  ku::log::error(category, "Cannot write calibration file \"{}\": {}", path.string(), exception.what());
  throw;
}

Calibration Calibration::scaleTo(int newWidth, int newHeight) const
{
  const auto cross = [](int a, int b) { return std::int64_t{a} * std::int64_t{b}; };
  if (cross(height, newWidth) != cross(width, newHeight))
  {
    constexpr const char* text = "Invalid aspect ratio for new calibration";
    ku::log::write(ku::log::Level::Error, category, text);
    throw std::invalid_argument(text);
  }
  for (const int side : {width, height, newWidth, newHeight})
  {
    if (side < 1 || side > largestSide)
      throw std::invalid_argument(
          fmt::format("calibration: cannot scale {} x {} to {} x {}, expected sides from 1 to {}", width, height,
                      newWidth, newHeight, largestSide));
  }
  requireFloats(cameraMatrix, "camera", 3);
  requireFloats(projectionMatrix, "projection", 4);
  Calibration scaled(*this);
  scaled.width = newWidth;
  scaled.height = newHeight;
  const float factor = static_cast<float>(newWidth) / static_cast<float>(width);
  // A point is (column, row).
  scale(scaled.cameraMatrix, factor, {{0, 0}, {1, 1}, {2, 0}, {2, 1}});
  scale(scaled.projectionMatrix, factor, {{0, 0}, {1, 1}, {2, 0}, {2, 1}, {3, 0}, {3, 1}});
  return scaled;
}
}  // namespace vision
