#include "graph/filteradapter.h"

#include "filtrix/ku/log.h"
#include "foundation/text/split.h"
#include "graph/filtermemory.h"

#include <stdexcept>
#include <utility>

namespace ZR::Filtrix
{
namespace
{
constexpr const char* category = "filtrix.filterAdapter";

std::shared_ptr<UserFilter> notNull(std::shared_ptr<UserFilter> filter)
{
  if (!filter)
    throw std::invalid_argument("FilterAdapter: expected a user filter, got null");
  return filter;
}
}  // namespace

FilterAdapter::FilterAdapter(std::shared_ptr<UserFilter> userFilter_)
    : FilterPrimitive(notNull(userFilter_)->getName()), userFilter(std::move(userFilter_))
{
  for (const std::string& declaration : userFilter->getInputs())
    _declareInput(declaration);
  for (const std::string& declaration : userFilter->getOutputs())
    _declareOutput(declaration);
}

std::string FilterAdapter::getDescription() const
{
  return userFilter->getDescription();
}

DataList FilterAdapter::applyFilter(const DataList& inputs, const ProcessKey& processKey, const ProcessKey& scopeKey,
                                    std::uint64_t)
{
  if (!userFilter->isStateful())
    return userFilter->run(inputs);

  const std::lock_guard lock(mutex);
  FilterMemory* const states = getMemoryManager();
  if (states == nullptr)
    throw std::logic_error("the stateful filter \"" + getName() + "\" runs without a memory manager");
  userFilter->setMemory(states->getMemory(processKey, scopeKey));
  DataList results = userFilter->run(inputs);
  states->setMemory(processKey, scopeKey, userFilter->getMemory());
  return results;
}

void FilterAdapter::_declareInput(const std::string& declaration)
{
  const auto pieces = splitBlocks(declaration, '[', ']');
  const bool readable = pieces.size() == 1 || pieces.size() == 2;
  const auto words = readable ? splitWords(pieces[0]) : std::vector<std::string_view>();
  const bool isOptional = words.size() == 2 && words[0] == "optional";
  if (pieces.size() == 1)
    ku::log::verbose(category, "Missing type declaration for input {} of filter {}", pieces[0], getName());
  if (words.size() != 1 && !isOptional)
  {
    ku::log::error(category, "Can't parse input declaration ({})", declaration);
    return;
  }

  const PortPtr port = addInput(std::string(words.back()));
  port->setOptional(isOptional);
  if (pieces.size() == 1)
    return;
  for (const std::string_view word : splitWords(pieces[1]))
  {
    const TypeTag type = Type::typeFromName(word);
    if (type == TypeTag::Invalid)
      ku::log::error(category, "Invalid input type {} for port {} of filter {}", word, words.back(), getName());
    else
      port->addType(type);
  }
}

void FilterAdapter::_declareOutput(const std::string& declaration)
{
  const auto words = splitWords(declaration);
  if (words.size() != 1)
  {
    ku::log::error(category, "Can't parse output declaration ({})", declaration);
    return;
  }
  addOutput(std::string(words[0]));
}
}  // namespace ZR::Filtrix
