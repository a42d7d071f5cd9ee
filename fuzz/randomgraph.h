#pragma once

#include "program/filtrixprivate.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ZR::Fuzz
{
using Number = std::optional<std::int64_t>;
using Numbers = std::vector<Number>;

/// What each stateful filter keeps, by the place where it stands: "process/node/node".
using States = std::map<std::string, std::int64_t>;

/// A filter as a plain description, which is evaluated by recursion: no counts, no caches, no scopes.
///
/// All inputs are optional, so that every node of a run is pulled and none is passed by: the results then do not depend
/// on the order of pulling. Nor do they on how often a process runs at one time, which its readers have a say in: a
/// state that has seen a value is not changed by the same one.
struct PlainFilter
{
  enum class Kind
  {
    Sum,       ///< x: the inputs' sum and 1; y: twice x, when that is even
    First,     ///< the first input that is there
    Greatest,  ///< of all inputs that came here so far
    Composite
  };

  /// What feeds an input of a node: an outer input, an output of a node before, or nothing.
  struct Feed
  {
    enum class From
    {
      Nothing,
      Outside,
      Node
    };

    From from = From::Nothing;
    std::size_t index = 0;  ///< of the outer input, or of the node
    std::size_t output = 0;
  };

  struct Inner
  {
    const PlainFilter* filter = nullptr;
    std::vector<Feed> feeds;
  };

  /// Of a node, from outside.
  struct Exposed
  {
    std::size_t node = 0;
    std::size_t output = 0;
  };

  [[nodiscard]] Numbers evaluate(const Numbers& given, const std::string& place, States& states) const;

  std::string name;
  Kind kind = Kind::Composite;
  std::vector<std::string> inputs;
  std::vector<std::string> outputs;
  std::size_t cost = 1;  ///< nodes that one application runs through

  // Of a composite.
  std::vector<Inner> nodes;
  std::vector<Exposed> exposed;

private:
  [[nodiscard]] const Numbers& _pull(std::size_t node, const Numbers& given, const std::string& place, States& states,
                                     std::map<std::size_t, Numbers>& done) const;
};

/// Sources, aliases and processes in a registry, made by the bytes of an input, beside the same as plain descriptions.
class RandomGraph final
{
public:
  RandomGraph(Filtrix::FiltrixPrivate& registry_, FuzzedDataProvider& bytes_);

  /// Changes some values, alias targets and states.
  void change();

  /// Runs every process at this time, and compares what its sinks hold with the recursion's results. False and a
  /// message on standard error when something differs, or is left over.
  [[nodiscard]] bool runAndCompare(Filtrix::Time time);

private:
  struct PlainProcess
  {
    struct Reads
    {
      enum class What
      {
        Nothing,
        Source,
        Alias,
        Literal,
        Process
      };

      What what = What::Nothing;
      std::size_t index = 0;   // of the source, alias or process
      std::size_t output = 0;  // of the process
      std::int64_t literal = 0;
    };

    const PlainFilter* filter = nullptr;
    std::vector<Reads> reads;
    Numbers sinks;
  };

  [[nodiscard]] std::size_t _pick(std::size_t below);
  void _addLeaf(PlainFilter::Kind kind);
  void _addComposite();
  void _addProcess();
  [[nodiscard]] PlainFilter::Feed _pickFeed(const PlainFilter& composite);
  [[nodiscard]] PlainProcess::Reads _pickReads();
  [[nodiscard]] std::string _textOf(const PlainProcess::Reads& reads) const;
  [[nodiscard]] Number _valueOf(const PlainProcess::Reads& reads) const;
  [[nodiscard]] bool _compare(std::size_t process) const;

  Filtrix::FiltrixPrivate& registry;
  FuzzedDataProvider& bytes;
  std::vector<std::unique_ptr<PlainFilter>> filters;
  std::vector<Number> sources;
  std::vector<std::size_t> aliases;  // the sources that they lead to
  std::vector<PlainProcess> processes;
  States states;
};
}  // namespace ZR::Fuzz
