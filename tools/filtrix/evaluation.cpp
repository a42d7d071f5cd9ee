#include "tools/filtrix/evaluation.h"

#include "tools/filtrix/assignment.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <optional>
#include <set>
#include <utility>

namespace ZR::Filtrix::Tool
{
namespace
{
using Sim::PersonTruth;

constexpr double nearest = 0.8;         // metres
constexpr double farthest = 4.0;        // metres
constexpr float leastVisible = 0.4F;    // share of the body
constexpr double longestError = 0.5;    // metres
constexpr double tooExpensive = 1.0e6;  // more than all real costs together

/// How long after something has changed nobody is judged by it, seconds: a person is not asked at once either.
constexpr double settling = 1.0;
constexpr double settlingOfWaving = 1.5;

/// An event may be told so much before and after it happened, seconds.
constexpr double eventEarly = 0.5;
constexpr double eventLate = 2.5;

std::optional<double> errorOf(const PersonTruth& person, const PersonView& view)
{
  if (!view.distance || !view.bearing)
    return std::nullopt;
  const double bearing = static_cast<double>(*view.bearing) / 57.29578;
  const double distance = static_cast<double>(*view.distance);
  return std::hypot(distance * std::cos(bearing) - static_cast<double>(person.world.x),
                    distance * std::sin(bearing) - static_cast<double>(person.world.y));
}

double share(int part, int whole, double ofNothing)
{
  return whole == 0 ? ofNothing : static_cast<double>(part) / whole;
}
}  // namespace

bool isCounted(const PersonTruth& person)
{
  const double distance = static_cast<double>(person.distance);
  return distance >= nearest && distance <= farthest && person.visible >= leastVisible && person.headIsVisible;
}

void Answers::add(bool isSo, bool isSaid)
{
  truePositives += isSo && isSaid ? 1 : 0;
  falsePositives += !isSo && isSaid ? 1 : 0;
  falseNegatives += isSo && !isSaid ? 1 : 0;
}

Answers& Answers::operator+=(const Answers& other)
{
  truePositives += other.truePositives;
  falsePositives += other.falsePositives;
  falseNegatives += other.falseNegatives;
  return *this;
}

double Answers::precision() const
{
  return share(truePositives, truePositives + falsePositives, 1.0);
}

double Answers::recall() const
{
  return share(truePositives, truePositives + falseNegatives, 1.0);
}

double Answers::f1() const
{
  return share(2 * truePositives, 2 * truePositives + falsePositives + falseNegatives, 1.0);
}

void Mean::add(double value)
{
  sum += value;
  ++count;
}

Mean& Mean::operator+=(const Mean& other)
{
  sum += other.sum;
  count += other.count;
  return *this;
}

double Mean::value() const
{
  return count == 0 ? 0.0 : sum / count;
}

Figures& Figures::operator+=(const Figures& other)
{
  frames += other.frames;
  seconds += other.seconds;
  people += other.people;
  misses += other.misses;
  falsePeople += other.falsePeople;
  falseTracks += other.falseTracks;
  switches += other.switches;
  idTruePositives += other.idTruePositives;
  idFound += other.idFound;
  for (std::size_t band = 0; band < detection.size(); ++band)
    detection[band] += other.detection[band];
  position += other.position;
  height += other.height;
  zone += other.zone;
  timeToFind += other.timeToFind;
  looking += other.looking;
  waving += other.waving;
  sitting += other.sitting;
  for (const auto& [name, answers] : other.events)
    events[name] += answers;
  latencies.insert(latencies.end(), other.latencies.begin(), other.latencies.end());
  return *this;
}

double Figures::detectionRate() const
{
  return share(people - misses, people, 1.0);
}

double Figures::mota() const
{
  return people == 0 ? (falsePeople == 0 ? 1.0 : 0.0) : 1.0 - share(misses + falsePeople + switches, people, 0.0);
}

double Figures::idf1() const
{
  return share(2 * idTruePositives, people + idFound, 1.0);
}

double Figures::falsePerMinute() const
{
  return seconds > 0.0 ? 60.0 * falseTracks / seconds : 0.0;
}

double Figures::latency(double shareOfAll) const
{
  if (latencies.empty())
    return 0.0;
  std::vector<double> sorted = latencies;
  std::ranges::sort(sorted);
  const auto last = static_cast<double>(sorted.size() - 1);
  return sorted[static_cast<std::size_t>(std::clamp(shareOfAll, 0.0, 1.0) * last)];
}

class Judge::Impl final
{
public:
  void add(const JudgedFrame& frame)
  {
    const double time = frame.truth.time;
    if (lastTime)
      figures.seconds += time - *lastTime;
    lastTime = time;
    ++figures.frames;
    figures.latencies.push_back(frame.latency);
    const auto matches = match(frame);
    judgePeople(frame, matches);
    judgeFalse(frame, matches);
    noteTrueEvents(frame.truth);
    noteToldEvents(frame, matches);
  }

  [[nodiscard]] Figures result() const
  {
    Figures all = figures;
    all.idTruePositives = bestIdentities();
    for (const auto& [person, since] : waiting)
      all.timeToFind.add(*lastTime - since);
    judgeEvents(all);
    return all;
  }

private:
  /// For each of the people who are there the index of who was found, or -1.
  using Matches = std::vector<int>;

  // One event of a person, true or told.
  struct Event
  {
    std::string name;
    int person = 0;
    double time = 0.0;
  };

  // A yes or no that is judged once it has lasted.
  struct State
  {
    bool isSo = false;
    double since = -1.0e9;
  };

  // Whoever belonged to somebody goes on belonging to him while he is near; the rest is shared out by distance.
  Matches match(const JudgedFrame& frame)
  {
    const auto& people = frame.truth.people;
    cv::Mat1d costs(static_cast<int>(people.size()), static_cast<int>(frame.found.size()), tooExpensive);
    for (int i = 0; i < costs.rows; ++i)
    {
      const PersonTruth& person = people[static_cast<std::size_t>(i)];
      for (int j = 0; j < costs.cols; ++j)
      {
        const PersonView& view = frame.found[static_cast<std::size_t>(j)];
        const auto error = errorOf(person, view);
        if (!error || *error > longestError)
          continue;
        const auto last = lastIds.find(person.id);
        const bool isKept = last != lastIds.end() && last->second == view.id;
        // People who count come first.
        costs(i, j) = *error + (isKept ? 0.0 : 10.0) + (isCounted(person) ? 0.0 : 1000.0);
      }
    }
    Matches matches = assign(costs);
    for (int i = 0; i < costs.rows; ++i)
    {
      int& j = matches[static_cast<std::size_t>(i)];
      if (j >= 0 && costs(i, j) >= tooExpensive)
        j = -1;
    }
    return matches;
  }

  void judgePeople(const JudgedFrame& frame, const Matches& matches)
  {
    for (std::size_t i = 0; i < matches.size(); ++i)
    {
      const PersonTruth& person = frame.truth.people[i];
      const PersonView* const view = matches[i] < 0 ? nullptr : &frame.found[static_cast<std::size_t>(matches[i])];
      if (isCounted(person))
        judgePresence(person, view, frame.truth.time);
      if (view == nullptr)
        continue;
      const auto [last, isNew] = lastIds.emplace(person.id, view->id);
      if (isCounted(person))
      {
        figures.switches += !isNew && last->second != view->id ? 1 : 0;
        ++together[{person.id, view->id}];
        ++figures.idFound;
        judgeValues(person, *view, frame.truth.time);
      }
      last->second = view->id;
    }
  }

  void judgePresence(const PersonTruth& person, const PersonView* view, double time)
  {
    ++figures.people;
    figures.misses += view == nullptr ? 1 : 0;
    for (std::size_t band = 0; band + 1 < Figures::bands.size(); ++band)
    {
      const double distance = static_cast<double>(person.distance);
      if (distance >= Figures::bands[band] && distance <= Figures::bands[band + 1])
      {
        figures.detection[band].add(true, view != nullptr);
        break;
      }
    }
    if (view == nullptr && !lastIds.contains(person.id))
      waiting.try_emplace(person.id, time);
    if (view != nullptr && !lastIds.contains(person.id))
    {
      const auto since = waiting.find(person.id);
      figures.timeToFind.add(since == waiting.end() ? 0.0 : time - since->second);
      if (since != waiting.end())
        waiting.erase(since);
    }
  }

  void judgeValues(const PersonTruth& person, const PersonView& view, double time)
  {
    figures.position.add(*errorOf(person, view));
    if (view.height)
      figures.height.add(std::abs(static_cast<double>(*view.height - person.height)));
    figures.zone.add(view.zone && *view.zone == person.zone ? 1.0 : 0.0);
    const auto judge = [&](Answers& answers, const char* name, bool isSo, bool isSaid, double settles)
    {
      State& state = states[{person.id, name}];
      if (state.isSo != isSo)
        state = {isSo, time};
      if (time - state.since >= settles)
        answers.add(isSo, isSaid);
    };
    judge(figures.looking, "looking", person.isLooking && person.faceIsVisible, view.looking, settling);
    judge(figures.waving, "waving", person.wavesLeft || person.wavesRight, view.waving, settlingOfWaving);
    judge(figures.sitting, "sitting", person.isSitting, view.sitting, settling);
  }

  void judgeFalse(const JudgedFrame& frame, const Matches& matches)
  {
    std::set<std::uint64_t> falseNow;
    for (std::size_t j = 0; j < frame.found.size(); ++j)
    {
      if (std::ranges::find(matches, static_cast<int>(j)) != matches.end())
        continue;
      if (isUnseenMemory(frame, frame.found[j]))
        continue;
      falseNow.insert(frame.found[j].id);
      ++figures.falsePeople;
      ++figures.idFound;
      figures.falseTracks += falseBefore.contains(frame.found[j].id) ? 0 : 1;
    }
    falseBefore = std::move(falseNow);
  }

  // Somebody who is remembered while he is not seen is no claim that he is there.
  static bool isUnseenMemory(const JudgedFrame&, const PersonView& view) { return !view.visible; }

  void noteTrueEvents(const Sim::FrameTruth& truth)
  {
    for (const PersonTruth& person : truth.people)
    {
      const auto [before, isNew] = lastTruth.emplace(person.id, person);
      if (isNew)
        continue;
      PersonTruth& old = before->second;
      const auto note = [&](bool hasHappened, const char* name)
      {
        if (hasHappened && isCounted(person))
          trueEvents.push_back({name, person.id, truth.time});
      };
      const auto looks = [](const PersonTruth& who) { return who.isLooking && who.faceIsVisible; };
      const auto waves = [](const PersonTruth& who) { return who.wavesLeft || who.wavesRight; };
      note(person.zone < old.zone, "approached");
      note(person.zone > old.zone, "moved away");
      note(looks(person) && !looks(old), "looked");
      note(!looks(person) && looks(old), "looked away");
      note(waves(person) && !waves(old), "waved");
      if (waves(person))
        lastWaves[person.id].push_back(truth.time);
      note(person.isSitting && !old.isSitting, "sat down");
      note(!person.isSitting && old.isSitting, "stood up");
      old = person;
    }
  }

  void noteToldEvents(const JudgedFrame& frame, const Matches& matches)
  {
    for (std::size_t i = 0; i < matches.size(); ++i)
    {
      if (matches[i] < 0)
        continue;
      for (const std::string& event : frame.found[static_cast<std::size_t>(matches[i])].events)
      {
        if (event == "appeared")
          continue;
        const std::string name = event.starts_with("waved") ? "waved" : event;
        toldEvents.push_back({name, frame.truth.people[i].id, frame.truth.time});
      }
    }
  }

  // Each true event may be told once; telling it again is false. The first look of somebody who looks when he is found
  // is no change of the truth, and neither right nor wrong.
  void judgeEvents(Figures& all) const
  {
    std::vector<bool> isTold(trueEvents.size(), false);
    for (const Event& told : toldEvents)
    {
      bool isTrue = false;
      bool isRepeated = false;
      for (std::size_t i = 0; i < trueEvents.size() && !isTrue; ++i)
      {
        const Event& event = trueEvents[i];
        const double late = told.time - event.time;
        if (event.name != told.name || event.person != told.person || late < -eventEarly || late > eventLate)
          continue;
        isRepeated = isRepeated || isTold[i];
        isTrue = !isTold[i];
        isTold[i] = true;
      }
      if (isTrue)
        ++all.events[told.name].truePositives;
      else if (told.time > firstSeconds && !isRepeated && !isOfLongWave(told))
        ++all.events[told.name].falsePositives;
    }
    for (std::size_t i = 0; i < trueEvents.size(); ++i)
      all.events[trueEvents[i].name].falseNegatives += isTold[i] ? 0 : 1;
  }

  // Who goes on waving is told of again every two seconds.
  [[nodiscard]] bool isOfLongWave(const Event& told) const
  {
    const auto last = lastWaves.find(told.person);
    return told.name == "waved" && last != lastWaves.end() &&
           std::ranges::any_of(last->second,
                               [&](double time) { return told.time >= time && told.time <= time + eventLate; });
  }

  // Each who is there goes with one who was found for good, so that they are together as long as possible.
  [[nodiscard]] int bestIdentities() const
  {
    std::map<int, int> rows;
    std::map<std::uint64_t, int> columns;
    for (const auto& [ids, count] : together)
    {
      rows.emplace(ids.first, static_cast<int>(rows.size()));
      columns.emplace(ids.second, static_cast<int>(columns.size()));
    }
    cv::Mat1d costs(static_cast<int>(rows.size()), static_cast<int>(columns.size()), 0.0);
    for (const auto& [ids, count] : together)
      costs(rows.at(ids.first), columns.at(ids.second)) = -count;
    if (costs.empty())
      return 0;
    const std::vector<int> assigned = assign(costs);
    double total = 0.0;
    for (int row = 0; row < costs.rows; ++row)
    {
      if (assigned[static_cast<std::size_t>(row)] >= 0)
        total -= costs(row, assigned[static_cast<std::size_t>(row)]);
    }
    return static_cast<int>(std::lround(total));
  }

  /// What is told of people who were there from the start is not judged by changes.
  static constexpr double firstSeconds = 2.5;

  Figures figures;
  std::optional<double> lastTime;
  std::map<int, std::uint64_t> lastIds;  // who belonged to each person last
  std::map<std::pair<int, std::uint64_t>, int> together;
  std::map<int, double> waiting;  // people who are not found yet, since when they count
  std::set<std::uint64_t> falseBefore;
  std::map<std::pair<int, std::string>, State> states;
  std::map<int, PersonTruth> lastTruth;
  std::map<int, std::vector<double>> lastWaves;  // the times at which each person waves
  std::vector<Event> trueEvents;
  std::vector<Event> toldEvents;
};

Judge::Judge() : impl(std::make_unique<Impl>()) {}

Judge::~Judge() = default;

void Judge::add(const JudgedFrame& frame)
{
  impl->add(frame);
}

Figures Judge::figures() const
{
  return impl->result();
}

std::string tableOf(const std::map<std::string, Figures>& scenes)
{
  std::string text = fmt::format(
      "{:<14} {:>6} {:>6} {:>6} {:>6} {:>4} {:>6} {:>6} {:>6} {:>6} {:>5} {:>5} {:>5} {:>6}\n", "scene", "found",
      "false", "MOTA", "IDF1", "sw.", "pos.", "height", "zone", "after", "look", "wave", "sit", "ms");
  text += fmt::format("{:<14} {:>6} {:>6} {:>6} {:>6} {:>4} {:>6} {:>6} {:>6} {:>6} {:>5} {:>5} {:>5} {:>6}\n", "", "%",
                      "/min", "", "", "", "m", "m", "%", "s", "F1", "F1", "F1", "median");
  const auto line = [&](const std::string& name, const Figures& f)
  {
    text += fmt::format("{:<14} {:>6.1f} {:>6.2f} {:>6.3f} {:>6.3f} {:>4} {:>6.3f} {:>6.3f} {:>6.1f} {:>6.2f} {:>5.2f} "
                        "{:>5.2f} {:>5.2f} "
                        "{:>6.1f}\n",
                        name, 100.0 * f.detectionRate(), f.falsePerMinute(), f.mota(), f.idf1(), f.switches,
                        f.position.value(), f.height.value(), 100.0 * f.zone.value(), f.timeToFind.value(),
                        f.looking.f1(), f.waving.f1(), f.sitting.f1(), f.latency(0.5));
  };
  Figures all;
  for (const auto& [name, figures] : scenes)
  {
    line(name, figures);
    all += figures;
  }
  line("all", all);
  text += "\nfound by distance:";
  for (std::size_t band = 0; band < all.detection.size(); ++band)
    text += fmt::format("  {}-{} m {:.1f} %", Figures::bands[band], Figures::bands[band + 1],
                        100.0 * all.detection[band].recall());
  text += "\nevents (precision, recall):";
  for (const auto& [name, answers] : all.events)
    text += fmt::format("  {} {:.2f} {:.2f}", name, answers.precision(), answers.recall());
  return text + "\n";
}

nlohmann::json toJson(const Figures& figures)
{
  nlohmann::json json = {{"frames", figures.frames},
                         {"detection_rate", figures.detectionRate()},
                         {"false_per_minute", figures.falsePerMinute()},
                         {"mota", figures.mota()},
                         {"motp", figures.position.value()},
                         {"idf1", figures.idf1()},
                         {"switches", figures.switches},
                         {"seconds_to_find", figures.timeToFind.value()},
                         {"height_error", figures.height.value()},
                         {"zones_right", figures.zone.count == 0 ? 1.0 : figures.zone.value()},
                         {"looking_f1", figures.looking.f1()},
                         {"waving_f1", figures.waving.f1()},
                         {"sitting_f1", figures.sitting.f1()},
                         {"frames_with",
                          {{"looking", figures.looking.truePositives + figures.looking.falseNegatives},
                           {"waving", figures.waving.truePositives + figures.waving.falseNegatives},
                           {"sitting", figures.sitting.truePositives + figures.sitting.falseNegatives}}},
                         {"latency_median", figures.latency(0.5)},
                         {"latency_99", figures.latency(0.99)}};
  for (std::size_t band = 0; band < figures.detection.size(); ++band)
    json["detection_by_distance"][fmt::format("{}-{}", Figures::bands[band], Figures::bands[band + 1])] =
        figures.detection[band].recall();
  for (const auto& [name, answers] : figures.events)
    json["events"][name] = {{"precision", answers.precision()}, {"recall", answers.recall()}};
  return json;
}
}  // namespace ZR::Filtrix::Tool
