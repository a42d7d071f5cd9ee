#include "filters/perception/scorefilter.h"

#include "filters/perception/population.h"
#include "filtrix/ku/log.h"

#include <utility>

namespace ZR::Filtrix::Filters
{
ScoreFilter::ScoreFilter(std::string_view filterName, std::string scoreName_, std::vector<TypeTag> inputTypes_,
                         Messages messages_)
    : PerceptionFilter(filterName), scoreName(std::move(scoreName_)), inputTypes(std::move(inputTypes_)),
      messages(std::move(messages_))
{
}

DataList ScoreFilter::run(const DataList& inputs)
{
  if (!haveTypes(inputs, inputTypes))
  {
    ku::log::write(ku::log::Level::Error, category(), messages.invalidInputs);
    return {};
  }
  for (const DataPtr& value : peopleOf(inputs[0], category(), messages.wrongType))
  {
    Type::Human& human = *personIn(value);
    human.setScore(scoreName, computeScore(human, inputs));
  }
  return {inputs[0]};
}

float ScoreFilter::zeroFor(std::string_view reason) const
{
  ku::log::error(category(), "{}, score is set to 0", reason);
  return 0.0F;
}
}  // namespace ZR::Filtrix::Filters
