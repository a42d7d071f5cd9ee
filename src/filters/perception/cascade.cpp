#include "filters/perception/cascade.h"

#include "filters/generic/xmltext.h"

#include <fmt/format.h>
#include <opencv2/core/persistence.hpp>

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

namespace ZR::Filtrix::Filters
{
namespace
{
constexpr int smallestWindow = 3;  // an edge of one pixel is left out of the mean
constexpr int largestWindow = 1024;
constexpr std::size_t mostRectangles = 3;  // of a HAAR feature
constexpr int lbpBlocks = 3;               // in a row and in a column
constexpr int lbpCategories = 256;
constexpr std::size_t bitsOfAWord = 32;

template <typename... Values>
[[noreturn]] void refuse(fmt::format_string<Values...> text, Values&&... values)
{
  throw std::runtime_error(fmt::format(text, std::forward<Values>(values)...));
}

int toWhole(const cv::FileNode& node, const char* what)
{
  if (!node.isInt())
    refuse("expected a whole number as {}", what);
  return static_cast<int>(node);
}

float toNumber(const cv::FileNode& node, const char* what)
{
  const float number = node.isInt() || node.isReal() ? static_cast<float>(node) : std::nanf("");
  if (!std::isfinite(number))
    refuse("expected a number as {}", what);
  return number;
}

cv::FileNode listIn(const cv::FileNode& parent, const char* key)
{
  const cv::FileNode list = parent.isMap() ? parent[key] : cv::FileNode();
  if (!list.isSeq() || list.size() == 0)
    refuse("expected a list as \"{}\"", key);
  return list;
}

cv::Size toWindow(int width, int height)
{
  for (const int side : {width, height})
  {
    if (side < smallestWindow || side > largestWindow)
      refuse("expected a window of {} to {} pixels to a side, got {} x {}", smallestWindow, largestWindow, width,
             height);
  }
  return {width, height};
}

bool isWithin(const cv::Size& window, int x, int y, int right, int bottom)
{
  return x >= 0 && y >= 0 && right <= window.width && bottom <= window.height;
}

// Four whole numbers and, for HAAR, a weight.
cv::Rect toRectangle(const cv::FileNode& node, const cv::Size& window, std::size_t numbers)
{
  if (!node.isSeq() || node.size() != numbers)
    refuse("expected a rectangle of {} numbers", numbers);
  auto number = node.begin();
  const auto next = [&]
  {
    const int value = toWhole(*number, "a coordinate");
    ++number;
    return value;
  };
  const int x = next();
  const int y = next();
  const int width = next();
  const int height = next();
  if (numbers > 4)
    (void)toNumber(*number, "a weight");
  if (x < 0 || y < 0 || width < 1 || height < 1 || width > window.width || height > window.height)
    refuse("expected a rectangle in a window of {} x {}, got {} x {} at {}, {}", window.width, window.height, width,
           height, x, y);
  return {x, y, width, height};
}

void requireHaarFeature(const cv::FileNode& feature, const cv::Size& window)
{
  const cv::FileNode rectangles = listIn(feature, "rects");
  if (rectangles.size() > mostRectangles)
    refuse("expected at most {} rectangles of a feature, got {}", mostRectangles, rectangles.size());
  const cv::FileNode tilt = feature["tilted"];
  const bool isTilted = !tilt.empty() && toWhole(tilt, "\"tilted\"") != 0;
  for (const cv::FileNode rectangle : rectangles)
  {
    const auto [x, y, width, height] = toRectangle(rectangle, window, 5);
    // A tilted one has its upper corner there, and goes down by its height to the left and by its width to the right.
    if (!(isTilted ? isWithin(window, x - height, y, x + width, y + width + height)
                   : isWithin(window, x, y, x + width, y + height)))
      refuse("expected a feature in a window of {} x {}, got {} x {} at {}, {}{}", window.width, window.height, width,
             height, x, y, isTilted ? ", tilted" : "");
  }
}

void requireLbpFeature(const cv::FileNode& feature, const cv::Size& window)
{
  if (!feature.isMap())
    refuse("expected a feature with a \"rect\"");
  const auto [x, y, width, height] = toRectangle(feature["rect"], window, 4);
  if (!isWithin(window, x, y, x + lbpBlocks * width, y + lbpBlocks * height))
    refuse("expected a feature in a window of {} x {}, got blocks of {} x {} at {}, {}", window.width, window.height,
           width, height, x, y);
}

// A node is left, right, feature, and a threshold or the categories that go left. A branch above 0 is another node,
// one of 0 and below a leaf.
struct Bounds
{
  std::size_t wordsOfCategories = 0;  // 0: a threshold
  int features = 0;
};

void requireTree(const cv::FileNode& tree, const Bounds& bounds)
{
  const cv::FileNode list = listIn(tree, "internalNodes");
  const std::size_t step = 3 + std::max<std::size_t>(bounds.wordsOfCategories, 1);
  const int nodes = static_cast<int>(list.size() / step);
  if (list.size() % step != 0)
    refuse("expected {} numbers a node, got {} numbers", step, list.size());
  auto number = list.begin();
  for (int node = 0; node < nodes; ++node)
  {
    for (int branch = 0; branch < 2; ++branch, ++number)
    {
      const int target = toWhole(*number, "a branch");
      // Upwards only: a search goes down the tree until it comes to a leaf.
      if (target > 0 ? target <= node || target >= nodes : target < -nodes)
        refuse("expected a later one of {} nodes or one of {} leaves, got {} in node {}", nodes, nodes + 1, target,
               node);
    }
    const int feature = toWhole(*number, "a feature");
    if (feature < 0 || feature >= bounds.features)
      refuse("expected one of {} features, got {}", bounds.features, feature);
    ++number;
    for (std::size_t i = 3; i < step; ++i, ++number)
    {
      if (bounds.wordsOfCategories == 0)
        (void)toNumber(*number, "a threshold");
      else
        (void)toWhole(*number, "categories");
    }
  }
  const cv::FileNode leaves = listIn(tree, "leafValues");
  if (leaves.size() != static_cast<std::size_t>(nodes) + 1)
    refuse("expected {} leaves, got {}", nodes + 1, leaves.size());
  for (const cv::FileNode leaf : leaves)
    (void)toNumber(leaf, "a leaf");
}

void requireCascade(const cv::FileNode& cascade)
{
  const auto textIn = [&](const char* key)
  {
    const cv::FileNode node = cascade[key];
    return node.isString() ? node.string() : std::string();
  };
  const std::string kind = textIn("featureType");
  if (textIn("stageType") != "BOOST" || (kind != "HAAR" && kind != "LBP"))
    refuse("expected stages of type BOOST and features of type HAAR or LBP, got \"{:.40}\" and \"{:.40}\"",
           textIn("stageType"), kind);
  const bool isLbp = kind == "LBP";
  const cv::Size window = toWindow(toWhole(cascade["width"], "\"width\""), toWhole(cascade["height"], "\"height\""));
  const cv::FileNode parameters = cascade["featureParams"];
  const int categories = parameters.isMap() ? toWhole(parameters["maxCatCount"], "\"maxCatCount\"") : -1;
  if (categories != (isLbp ? lbpCategories : 0))
    refuse("expected {} categories of features of type {}, got {}", isLbp ? lbpCategories : 0, kind, categories);

  const cv::FileNode features = listIn(cascade, "features");
  const auto requireFeature = isLbp ? requireLbpFeature : requireHaarFeature;
  for (const cv::FileNode feature : features)
    requireFeature(feature, window);

  const Bounds bounds{static_cast<std::size_t>(categories) / bitsOfAWord, static_cast<int>(features.size())};
  for (const cv::FileNode stage : listIn(cascade, "stages"))
  {
    const cv::FileNode trees = listIn(stage, "weakClassifiers");
    (void)toNumber(stage["stageThreshold"], "\"stageThreshold\"");
    for (const cv::FileNode tree : trees)
      requireTree(tree, bounds);
  }
}

// An older cascade in the format of today: its trees hold their leaves, and its nodes their features.
class Conversion final
{
public:
  explicit Conversion(const cv::FileNode& cascade) { _write(cascade); }

  std::string text() { return out.releaseAndGetString(); }

private:
  void _write(const cv::FileNode& cascade)
  {
    const cv::FileNode size = listIn(cascade, "size");
    if (size.size() != 2)
      refuse("expected two numbers as \"size\", got {}", size.size());
    out << "cascade"
        << "{"
        << "stageType"
        << "BOOST"
        << "featureType"
        << "HAAR";
    out << "width" << toWhole(*size.begin(), "a width") << "height" << toWhole(*++size.begin(), "a height");
    out << "featureParams"
        << "{"
        << "maxCatCount" << 0 << "}";
    out << "stages"
        << "[";
    for (const cv::FileNode stage : listIn(cascade, "stages"))
    {
      const cv::FileNode trees = listIn(stage, "trees");
      out << "{"
          << "stageThreshold" << toNumber(stage["stage_threshold"], "\"stage_threshold\"");
      out << "weakClassifiers"
          << "[";
      for (const cv::FileNode tree : trees)
        _writeTree(tree);
      out << "]"
          << "}";
    }
    out << "]"
        << "features"
        << "[";
    for (const cv::FileNode& feature : features)
      _writeFeature(feature);
    out << "]"
        << "}";
  }

  void _writeTree(const cv::FileNode& tree)
  {
    if (!tree.isSeq())
      refuse("expected a list of nodes as a tree");
    std::vector<float> leaves;
    out << "{"
        << "internalNodes"
        << "[";
    for (const cv::FileNode node : tree)
    {
      if (!node.isMap())
        refuse("expected a node with a \"feature\"");
      for (const auto& [branch, leaf] : {std::pair("left_node", "left_val"), std::pair("right_node", "right_val")})
      {
        if (node[branch].isInt())
        {
          out << toWhole(node[branch], branch);
          continue;
        }
        out << -static_cast<int>(leaves.size());
        leaves.push_back(toNumber(node[leaf], leaf));
      }
      out << static_cast<int>(features.size()) << toNumber(node["threshold"], "\"threshold\"");
      features.push_back(node["feature"]);
    }
    out << "]"
        << "leafValues"
        << "[";
    for (const float leaf : leaves)
      out << leaf;
    out << "]"
        << "}";
  }

  void _writeFeature(const cv::FileNode& feature)
  {
    out << "{"
        << "rects"
        << "[";
    for (const cv::FileNode rectangle : listIn(feature, "rects"))
    {
      if (!rectangle.isSeq())
        refuse("expected a rectangle of 5 numbers");
      out << "[";
      for (const cv::FileNode number : rectangle)
      {
        if (number.isInt())
          out << toWhole(number, "a coordinate");
        else
          out << toNumber(number, "a weight");
      }
      out << "]";
    }
    const cv::FileNode tilt = feature["tilted"];
    out << "]"
        << "tilted" << (tilt.empty() ? 0 : toWhole(tilt, "\"tilted\"")) << "}";
  }

  cv::FileStorage out{".yml", cv::FileStorage::WRITE | cv::FileStorage::MEMORY};
  std::vector<cv::FileNode> features;
};

// A cascade has neither; the reader would take bytes that are said to be binary to its own idea of their end.
void requireNoForeignMarkup(const std::string& text)
{
  for (const std::string_view foreign : {"<![", "\"binary\"", "'binary'"})
  {
    if (text.find(foreign) != std::string::npos)
      refuse("expected elements and comments alone, got {}", foreign);
  }
  if (text.find("<?", 1) != std::string::npos)
    refuse("expected no processing instruction behind the start");
}

cv::FileNode rootOf(const cv::FileStorage& storage)
{
  const cv::FileNode root = storage.getFirstTopLevelNode();
  if (!root.isMap())
    refuse("expected a cascade, got no element with others in it");
  return root;
}
}  // namespace

std::unique_ptr<cv::CascadeClassifier> readCascade(const std::string& text)
{
  requirePlainXml(text);
  requireNoForeignMarkup(text);
  constexpr int fromText = cv::FileStorage::READ | cv::FileStorage::MEMORY;
  cv::FileStorage storage(text, fromText | cv::FileStorage::FORMAT_XML);
  if (rootOf(storage)["stageType"].empty() && !rootOf(storage)["size"].empty())
  {
    const std::string converted = Conversion(rootOf(storage)).text();
    storage.open(converted, fromText | cv::FileStorage::FORMAT_YAML);
  }
  const cv::FileNode root = rootOf(storage);
  requireCascade(root);
  auto classifier = std::make_unique<cv::CascadeClassifier>();
  if (!classifier->read(root))
    refuse("expected a cascade that OpenCV reads");
  return classifier;
}
}  // namespace ZR::Filtrix::Filters
