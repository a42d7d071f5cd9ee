#include "tools/filterdocs/reference.h"

#include "filters/generic/genericfilters.h"
#include "filters/generic/knnclassification.h"
#include "filters/perception/catalogue.h"
#include "filtrix/userfilter.h"
#include "graph/filteradapter.h"
#include "tools/filterdocs/comments.h"
#include "tools/filterdocs/examples.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <map>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <utility>
#include <vector>

namespace ZR::Filtrix::FilterDocs
{
namespace
{
using Comments = std::map<std::string, FilterComment>;
using Filters::CatalogueEntry;

constexpr const char* introduction =
    "# The filters\n"
    "\n"
    "Everything that a program can use by name: the generic library, which works on any values and images, and the\n"
    "perception library, which finds and follows people. docs/language.md tells how programs put them together.\n"
    "\n"
    "A port without types takes every value. An optional input may stay unconnected. Depth is in millimetres, where\n"
    "nothing else is said; positions are in metres. In the pictures, the inputs stand on the left and the result on "
    "the\n"
    "right; each label has a colour, and a depth is the brighter the farther it is.\n"
    "\n"
    "This page is made by `scripts/filter-docs` from the filters themselves.\n";

// A row of the catalogue as a filter, so that its declarations are read as the library reads them.
class CatalogueFilter final : public UserFilter
{
public:
  explicit CatalogueFilter(const CatalogueEntry& entry_) : entry(entry_) {}

  std::string getName() override { return entry.name; }

  std::string getDescription() override { return entry.description; }

  std::vector<std::string> getInputs() override { return entry.inputs; }

  std::vector<std::string> getOutputs() override { return entry.outputs; }

  bool isStateful() override { return entry.state == Filters::State::kept; }

  DataList run(const DataList&) override { throw std::logic_error("a filter of the reference is not run"); }

private:
  const CatalogueEntry& entry;
};

std::vector<FilterPtr> perceptionFilters()
{
  std::vector<FilterPtr> filters;
  for (const CatalogueEntry& entry : Filters::perceptionCatalogue())
    filters.push_back(std::make_shared<FilterAdapter>(std::make_shared<CatalogueFilter>(entry)));
  return filters;
}

std::string typesOf(const Port& port, const std::string& fallback)
{
  std::string text;
  for (const TypeTag type : port.getTypes())
    text += (text.empty() ? "" : ", ") + std::string(Type::typeName(type));
  return text.empty() ? fallback : text;
}

std::string portRow(const Port& port, const char* direction, const FilterComment& comment)
{
  const auto said = comment.ports.find(port.getName());
  if (said == comment.ports.end())
    return fmt::format("| `{}` | {} | {} |", port.getName(), direction, typesOf(port, "any"));
  return fmt::format("| `{}` | {} | {} | {} |", port.getName(), direction, typesOf(port, said->second.types),
                     said->second.meaning);
}

std::string portTable(const Filter& filter, const FilterComment& comment)
{
  std::string text = comment.ports.empty() ? "| Port | | Types |\n|---|---|---|\n"
                                           : "| Port | | Types | Meaning |\n|---|---|---|---|\n";
  for (const PortPtr& port : filter.getInputs())
    text += portRow(*port, port->isOptional() ? "optional input" : "input", comment) + '\n';
  for (const PortPtr& port : filter.getOutputs())
    text += portRow(*port, "output", comment) + '\n';
  return text;
}

std::string lowerCase(std::string text)
{
  std::ranges::transform(text, text.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

std::string picture(const std::string& filter)
{
  const Example* const example = findExample(filter);
  if (example == nullptr)
    return "";
  const std::string caption = example->settings.empty() ? "" : fmt::format("\n*{}*\n", example->settings);
  return fmt::format("\n![{0}](images/filters/{1})\n{2}", filter, pictureName(filter), caption);
}

std::string section(const Filter& filter, const Comments& comments)
{
  const auto found = comments.find(filter.getName());
  const FilterComment comment = found != comments.end() ? found->second : FilterComment();
  std::string text = fmt::format("\n### {}\n\n{}\n\n", filter.getName(), filter.getDescription());
  text += portTable(filter, comment);
  if (!comment.text.empty())
    text += '\n' + comment.text + '\n';
  if (filter.isStateful())
    text += "\nKeeps state from one run to the next.\n";
  return text + picture(filter.getName());
}

std::string library(const char* title, const std::vector<FilterPtr>& filters, const Comments& comments)
{
  std::string text = fmt::format("\n## {}\n\n", title);
  for (const FilterPtr& filter : filters)
    text += fmt::format("[{}](#{}){}", filter->getName(), lowerCase(filter->getName()),
                        filter == filters.back() ? "\n" : ",\n");
  for (const FilterPtr& filter : filters)
    text += section(*filter, comments);
  return text;
}
}  // namespace

std::string makeReference(const std::filesystem::path& source)
{
  const Comments generic = readComments(source / "src/filters/generic");
  const Comments perception = readComments(source / "src/filters/perception");
  return introduction + library("Generic filters", Filters::makeGenericFilters(), generic) +
         library("Filters made from a file", {std::make_shared<Filters::KNNClassification>()}, generic) +
         library("Perception filters", perceptionFilters(), perception);
}

std::string firstDifference(const std::string& found, const std::string& expected)
{
  std::istringstream foundLines(found);
  std::istringstream expectedLines(expected);
  for (int number = 1;; ++number)
  {
    std::string foundLine;
    std::string expectedLine;
    const bool isFound = static_cast<bool>(std::getline(foundLines, foundLine));
    const bool isExpected = static_cast<bool>(std::getline(expectedLines, expectedLine));
    if (!isFound && !isExpected)
      return "the ends of the lines differ";
    if (isFound != isExpected || foundLine != expectedLine)
      return fmt::format("line {}: expected \"{}\", got \"{}\"", number, isExpected ? expectedLine : "the end",
                         isFound ? foundLine : "the end");
  }
}
}  // namespace ZR::Filtrix::FilterDocs
