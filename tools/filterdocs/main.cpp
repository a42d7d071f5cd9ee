// Writes docs/filters.md, the reference of the filters, and its pictures; or checks that the page is up to date.

#include "filters/generic/genericfilters.h"
#include "tools/filterdocs/panels.h"
#include "tools/filterdocs/reference.h"

#include <CLI/CLI.hpp>

#include <exception>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>

namespace ZR::Filtrix::FilterDocs
{
namespace
{
namespace fs = std::filesystem;

constexpr const char* photographFolder = "/usr/share/doc/opencv-doc/examples/data";

void writeFile(const fs::path& path, std::string_view content)
{
  fs::create_directories(path.parent_path());
  std::ofstream file(path, std::ios::binary);
  file.write(content.data(), static_cast<std::streamsize>(content.size()));
  if (!file.flush())
    throw std::runtime_error(path.string() + ": expected a file that can be written");
}

std::string readFile(const fs::path& path)
{
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void writePictures(const fs::path& folder, const fs::path& photographs)
{
  const Photographs read(photographs);
  for (const FilterPtr& filter : Filters::makeGenericFilters())
  {
    const Example* const example = findExample(filter->getName());
    if (example == nullptr)
      continue;
    const auto file = drawExample(*filter, *example, read);
    writeFile(folder / pictureName(filter->getName()), std::string(file.begin(), file.end()));
  }
}

int check(const fs::path& page, const std::string& expected)
{
  const std::string found = readFile(page);
  if (found == expected)
    return 0;
  std::cerr << page.string() << " is not up to date: " << firstDifference(found, expected)
            << "\nRun scripts/filter-docs.\n";
  return 1;
}

int run(int argc, char** argv)
{
  CLI::App app("Writes docs/filters.md and its pictures from the filters.", "filterdocs");
  fs::path source;
  fs::path photographs = photographFolder;
  bool onlyCheck = false;
  app.add_option("SOURCE", source, "The root of the source tree")->required()->check(CLI::ExistingDirectory);
  app.add_option("--photographs", photographs, "The folder of the photographs");
  app.add_flag("--check", onlyCheck, "Write nothing; fail when the page is not up to date");
  CLI11_PARSE(app, argc, argv);

  const fs::path page = source / "docs/filters.md";
  const std::string text = makeReference(source);
  if (onlyCheck)
    return check(page, text);
  writePictures(source / "docs/images/filters", photographs);
  writeFile(page, text);
  return 0;
}
}  // namespace
}  // namespace ZR::Filtrix::FilterDocs

int main(int argc, char** argv)
{
  try
  {
    return ZR::Filtrix::FilterDocs::run(argc, argv);
  }
  catch (const std::exception& error)
  {
    std::cerr << "filterdocs: " << error.what() << '\n';
    return 1;
  }
}
