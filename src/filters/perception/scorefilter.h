#pragma once

#include "filters/perception/perceptionfilter.h"

#include <string>
#include <string_view>
#include <vector>

namespace ZR::Filtrix::Filters
{
/// What the scores have in common: each person of the population on input 0 gets one under a fixed name, and the
/// population goes on as it came. What is no person is told of and passed over. Inputs of other types give no output.
class ScoreFilter : public PerceptionFilter
{
public:
  /// What a filter says of bad input: of inputs that are not as declared, and of an element that is no person.
  struct Messages
  {
    std::string invalidInputs = "Invalid inputs.";
    std::string wrongType = "wrong input type, not Humans";
  };

  /// `inputTypes_` has the type of each input; the first is Array.
  ScoreFilter(std::string_view filterName, std::string scoreName_, std::vector<TypeTag> inputTypes_,
              Messages messages_);

  DataList run(const DataList& inputs) final;

protected:
  /// The score, 0 to 1. The inputs have the right types.
  [[nodiscard]] virtual float computeScore(const Type::Human& human, const DataList& inputs) const = 0;

  /// The score of a person of whom something is not known: logs what and that the score is 0, and gives it.
  [[nodiscard]] float zeroFor(std::string_view reason) const;

private:
  std::string scoreName;
  std::vector<TypeTag> inputTypes;
  Messages messages;
};
}  // namespace ZR::Filtrix::Filters
