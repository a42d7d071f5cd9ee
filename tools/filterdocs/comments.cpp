#include "tools/filterdocs/comments.h"

#include "foundation/text/split.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace ZR::Filtrix::FilterDocs
{
namespace
{
using Lines = std::vector<std::string>;

constexpr std::string_view mark = "///";

// "| a | b |" to "a", "b".
std::vector<std::string> cellsOf(std::string_view row)
{
  std::vector<std::string> cells;
  std::size_t start = 1;
  for (std::size_t end = row.find('|', start); end != std::string_view::npos; end = row.find('|', start))
  {
    cells.emplace_back(trim(row.substr(start, end - start)));
    start = end + 1;
  }
  return cells;
}

void readRow(std::string_view row, FilterComment* comment)
{
  const std::vector<std::string> cells = cellsOf(row);
  if (cells.size() != 3)
    return;
  for (const std::string_view port : splitList(cells[0], ','))
    comment->ports[std::string(port)] = {cells[1], cells[2]};
}

// It says what the filter's own description does.
std::string withoutFirstSentence(std::string_view text)
{
  const std::size_t end = text.find('.');
  return std::string(trim(end == std::string_view::npos ? "" : text.substr(end + 1)));
}

// The table ends at the first empty line; what a formatter has torn out of its rows goes with it.
FilterComment readComment(const Lines& lines)
{
  FilterComment comment;
  bool inTable = false;
  for (const std::string& line : lines)
  {
    inTable = line.starts_with('|') || (inTable && !line.empty());
    if (inTable)
      readRow(line, &comment);
    else if (!line.empty() || !comment.text.ends_with("\n\n"))
      comment.text += line + '\n';
  }
  comment.text = withoutFirstSentence(comment.text);
  return comment;
}

// The words in back quotes of "The filters `A` and `B`."
std::vector<std::string> namedFilters(const Lines& lines)
{
  std::vector<std::string> names;
  if (lines.empty() || !lines.front().starts_with("The filter"))
    return names;
  const std::string& text = lines.front();
  std::size_t open = text.find('`');
  while (open != std::string::npos)
  {
    const std::size_t close = text.find('`', open + 1);
    if (close == std::string::npos)
      break;
    names.push_back(text.substr(open + 1, close - open - 1));
    open = text.find('`', close + 1);
  }
  return names;
}

void readFile(const std::filesystem::path& path, std::map<std::string, FilterComment>* comments)
{
  std::ifstream file(path);
  if (!file)
    throw std::runtime_error(path.string() + ": expected a file that can be read");
  Lines lines;
  std::string line;
  while (std::getline(file, line))
  {
    if (line.starts_with(mark))
    {
      lines.emplace_back(trim(std::string_view(line).substr(mark.size())));
      continue;
    }
    const auto words = splitWords(line);
    if (!lines.empty() && words.size() > 1 && words[0] == "class")
    {
      const FilterComment comment = readComment(lines);
      comments->emplace(words[1], comment);
      for (const std::string& name : namedFilters(lines))
        comments->emplace(name, comment);
    }
    lines.clear();
  }
}
}  // namespace

std::map<std::string, FilterComment> readComments(const std::filesystem::path& folder)
{
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(folder))
    if (entry.path().extension() == ".cpp" || entry.path().extension() == ".h")
      files.push_back(entry.path());
  std::ranges::sort(files);

  std::map<std::string, FilterComment> comments;
  for (const auto& file : files)
    readFile(file, &comments);
  return comments;
}
}  // namespace ZR::Filtrix::FilterDocs
