#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>

namespace ZR::Filtrix
{
class Filter;
class FilterComposite;
class Port;

/// Writes a filter as text in the Graphviz dot language: its ports with their types, the nodes inside a composite, and
/// the links, down to a depth. Names of any content are escaped.
class DotGraph final
{
public:
  /// `maxDepth` is how many levels of composites are opened; below it a composite is drawn closed. -1 opens all.
  explicit DotGraph(int maxDepth = -1);

  /// The whole digraph for one filter.
  [[nodiscard]] static std::string draw(const Filter& filter, int maxDepth = -1);

  // Called by the filters themselves.

  void addPrimitive(const Filter& filter);
  void addComposite(const FilterComposite& composite);

private:
  void _openFrame(std::string_view title, bool highlighted);
  void _closeFrame();
  void _line(std::string_view text);
  std::string _portId(const std::string& frame, const char* side, std::size_t index) const;
  void _ports(const Filter& filter);

  const int maxDepth;
  int level = 0;
  std::string frame = "f";  // the identifier of the frame being drawn; inner frames grow it
  std::string nodeTitle;    // how the node that applies the filter is called, when it has a name of its own
  std::string text;
};
}  // namespace ZR::Filtrix
