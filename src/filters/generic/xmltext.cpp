#include "filters/generic/xmltext.h"

#include "filtrix/ku/os.h"

#include <boost/property_tree/xml_parser.hpp>
#include <fmt/format.h>

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sstream>
#include <stdexcept>
#include <string_view>

namespace ZR::Filtrix::Filters
{
namespace
{
ku::os::File openRegular(const std::filesystem::path& path)
{
  ku::os::File file = ku::os::openWithoutWaiting(path);
  if (!file)
    throw std::runtime_error(fmt::format("expected a file that can be read: {}", std::strerror(errno)));
  struct stat status = {};
  if (::fstat(::fileno(file.get()), &status) != 0 || !S_ISREG(status.st_mode))
    throw std::runtime_error("expected a regular file, got a folder, a pipe or a device");
  return file;
}

bool isBlank(char c)
{
  return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

bool startsName(char c)
{
  const auto byte = static_cast<unsigned char>(c);
  return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || byte == '_' || byte == ':' || byte >= 0x80;
}

bool continuesName(char c)
{
  return startsName(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
}

// Walks over the tags of a text and throws where the reader must not go.
class TagWalk final
{
public:
  explicit TagWalk(std::string_view text_) : text(text_) {}

  void run()
  {
    while ((position = std::min(text.find('<', position), text.size())) < text.size())
    {
      tag = position;
      _readMarkup();
    }
  }

private:
  void _readMarkup()
  {
    if (_take("<!--"))
      _skipPast("-->");
    else if (_take("<![CDATA["))
      _skipPast("]]>");
    else if (_take("<?"))
      _skipPast("?>");
    else if (text.substr(position).starts_with("<!"))
      _fail("expected no document type");
    else if (_take("</"))
      _readEnd();
    else
      _readElement();
  }

  void _readEnd()
  {
    if (depth == 0)
      _fail("expected an element, got the end of one");
    --depth;
    _readName();
    _skipBlanks();
    _expect(">");
  }

  void _readElement()
  {
    ++position;
    _readName();
    _count();
    while (_skipBlanks() && startsName(_next()))
      _readAttribute();
    if (_take("/>"))
      return;
    _expect(">");
    if (++depth > deepestXml)
      _fail(fmt::format("expected at most {} elements within one another", deepestXml));
  }

  void _readAttribute()
  {
    _readName();
    _count();
    _skipBlanks();
    _expect("=");
    _skipBlanks();
    const char quote = _next();
    if (quote != '"' && quote != '\'')
      _fail("expected the value of an attribute in quotes");
    const std::size_t end = text.find(quote, position + 1);
    if (end == std::string_view::npos || text.substr(position, end - position).find('<') != std::string_view::npos)
      _fail("expected the closing quote of an attribute");
    position = end + 1;
  }

  // Attributes become branches of the tree as elements do.
  void _count()
  {
    if (++elements > mostXmlElements)
      _fail(fmt::format("expected at most {} elements and attributes", mostXmlElements));
  }

  void _readName()
  {
    if (!startsName(_next()))
      _fail("expected a name");
    while (continuesName(_next()))
      ++position;
  }

  // False when nothing was there to skip.
  bool _skipBlanks()
  {
    const std::size_t start = position;
    while (isBlank(_next()))
      ++position;
    return position != start;
  }

  void _skipPast(std::string_view end)
  {
    const std::size_t found = text.find(end, position);
    if (found == std::string_view::npos)
      _fail(fmt::format("expected \"{}\"", end));
    position = found + end.size();
  }

  bool _take(std::string_view word)
  {
    if (!text.substr(position).starts_with(word))
      return false;
    position += word.size();
    return true;
  }

  void _expect(std::string_view word)
  {
    if (!_take(word))
      _fail(fmt::format("expected \"{}\"", word));
  }

  [[nodiscard]] char _next() const { return position < text.size() ? text[position] : '\0'; }

  [[noreturn]] void _fail(const std::string& message) const
  {
    const auto line = std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(tag), '\n') + 1;
    throw std::runtime_error(fmt::format("line {}: {}", line, message));
  }

  const std::string_view text;
  std::size_t position = 0;
  std::size_t tag = 0;  // where the markup begins that is being read
  std::size_t depth = 0;
  std::size_t elements = 0;
};
}  // namespace

std::string readSmallFile(const std::filesystem::path& path)
{
  const ku::os::File file = openRegular(path);
  std::string text(largestXmlFile + 1, '\0');
  text.resize(std::fread(text.data(), 1, text.size(), file.get()));
  if (std::ferror(file.get()) != 0)
    throw std::runtime_error("expected a file that can be read: reading failed");
  if (text.size() > largestXmlFile)
    throw std::runtime_error(fmt::format("expected at most {} bytes, got more", largestXmlFile));
  return text;
}

void requirePlainXml(const std::string& text)
{
  if (text.size() > largestXmlFile)
    throw std::runtime_error(fmt::format("expected at most {} bytes, got {}", largestXmlFile, text.size()));
  TagWalk(text).run();
}

boost::property_tree::ptree parseXml(const std::string& text)
{
  requirePlainXml(text);

  namespace xml = boost::property_tree::xml_parser;
  boost::property_tree::ptree tree;
  std::istringstream stream(text);
  try
  {
    xml::read_xml(stream, tree, xml::no_comments);
  }
  catch (const xml::xml_parser_error& error)
  {
    throw std::runtime_error(fmt::format("line {}: expected XML: {}", error.line(), error.message()));
  }
  return tree;
}
}  // namespace ZR::Filtrix::Filters
