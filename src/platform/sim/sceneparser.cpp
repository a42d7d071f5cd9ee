// Reads scene files, line by line. What a line says is in its first word; a line that begins with "at" belongs to the
// actor before it.

#include "filtrix/ku/path.h"
#include "platform/sim/scene.h"
#include "platform/sim/sceneline.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <utility>

namespace ZR::Sim
{
namespace
{
namespace fs = std::filesystem;

constexpr int version = 1;
constexpr const char* extension = ".scene";
constexpr float farthest = 50.0F;        // metres
constexpr double longestScene = 3600.0;  // seconds
constexpr std::size_t mostActors = 100;
constexpr std::size_t mostFurniture = 1000;
constexpr std::uintmax_t largestFile = 1U << 20U;  // bytes

class SceneParser final
{
public:
  Scene parse(std::string_view text, const std::string& file)
  {
    int number = 0;
    while (!text.empty())
    {
      const std::size_t end = std::min(text.find('\n'), text.size());
      SceneLine line(text.substr(0, end), fmt::format("{}:{}", file, ++number));
      text.remove_prefix(std::min(end + 1, text.size()));
      if (line.isAtEnd())
        continue;
      if (hasVersion)
        parseLine(line);
      else
        parseVersion(line);
    }
    if (!hasVersion)
      throw SceneError(
          fmt::format("{}:{}: expected \"filtrix-scene {}\", got the end of the file", file, number + 1, version));
    if (scene.head.empty())
      scene.head.push_back({});
    return std::move(scene);
  }

private:
  using Member = void (SceneParser::*)(SceneLine&);

  void parseVersion(SceneLine& line)
  {
    if (!line.accept("filtrix-scene"))
      line.fail(fmt::format("\"filtrix-scene {}\"", version));
    line.takeNumber("the format's version", version, version);
    line.expectEnd();
    hasVersion = true;
  }

  void parseLine(SceneLine& line)
  {
    static constexpr std::pair<std::string_view, Member> statements[] = {
        {"title", &SceneParser::parseTitle},   {"duration", &SceneParser::parseDuration},
        {"seed", &SceneParser::parseSeed},     {"robot", &SceneParser::parseRobot},
        {"room", &SceneParser::parseRoom},     {"head", &SceneParser::parseHead},
        {"box", &SceneParser::parseBox},       {"ball", &SceneParser::parseBall},
        {"pillar", &SceneParser::parsePillar}, {"table", &SceneParser::parseTable},
        {"chair", &SceneParser::parseChair},   {"person", &SceneParser::parsePerson},
        {"pet", &SceneParser::parsePet},       {"at", &SceneParser::parseAction}};
    std::string known;
    for (const auto& [word, parse] : statements)
    {
      if (line.accept(word))
      {
        (this->*parse)(line);
        line.expectEnd();
        return;
      }
      known += (known.empty() ? "" : ", ") + std::string(word);
    }
    line.fail("one of " + known);
  }

  void parseTitle(SceneLine& line)
  {
    scene.title = line.takeWord("the title");
    while (!line.isAtEnd())
      scene.title += " " + line.takeWord("");
  }

  void parseDuration(SceneLine& line)
  {
    scene.duration = static_cast<double>(line.takeNumber("seconds", 0.1F, longestScene));
  }

  void parseSeed(SceneLine& line)
  {
    scene.seed = static_cast<std::uint32_t>(line.takeNumber("the seed", 0.0F, 1.0e6F));
  }

  void parseRobot(SceneLine& line)
  {
    if (line.accept("stereo"))
      scene.model = 7;
    else if (!line.accept("depth"))
      line.fail("\"depth\" or \"stereo\", what the robot sees distances with");
  }

  void parseRoom(SceneLine& line)
  {
    const float back = line.takeNumber("metres from the robot to the wall behind it", 0.5F, farthest);
    const float front = line.takeNumber("metres to the wall before it", 0.5F, farthest);
    const float width = line.takeNumber("the room's width", 1.0F, farthest);
    scene.roomStart = {-back, -0.5F * width, 0.0F};
    scene.roomEnd = {front, 0.5F * width, line.takeNumber("the room's height", 1.5F, farthest)};
    while (!line.isAtEnd())
    {
      if (line.accept("walls"))
        scene.walls = line.takeColor("the walls' color");
      else if (line.accept("floor"))
        scene.floor = line.takeColor("the floor's color");
      else if (line.accept("shiny"))
        scene.floorIsShiny = true;
      else
        line.fail("\"walls\", \"floor\" or \"shiny\"");
    }
  }

  void parseHead(SceneLine& line)
  {
    HeadPose pose;
    pose.time = takeTime(line);
    if (!scene.head.empty() && pose.time < scene.head.back().time)
      line.fail("times in their order");
    constexpr float limit = 120.0F;
    pose.pan = line.takeAngle(fmt::format("the pan up to {} to both sides", limit));
    pose.tilt = line.takeAngle("the tilt");
    scene.head.push_back(pose);
  }

  static double takeTime(SceneLine& line)
  {
    return static_cast<double>(line.takeNumber("a time in seconds", 0.0F, longestScene));
  }

  static float takePlace(SceneLine& line, const char* what) { return line.takeNumber(what, -farthest, farthest); }

  static float takeSize(SceneLine& line, const char* what) { return line.takeNumber(what, 0.005F, farthest); }

  static cv::Vec3f takePoint(SceneLine& line)
  {
    const float x = takePlace(line, "x");
    const float y = takePlace(line, "y");
    return {x, y, 0.0F};
  }

  void add(SceneLine& line, const Shape& shape, const Color& color)
  {
    if (scene.furniture.size() == mostFurniture)
      line.fail(fmt::format("at most {} pieces of furniture", mostFurniture));
    scene.furniture.push_back({shape, color});
  }

  // A block that stands on `bottom`, given before its piece of furniture is turned and put in its place.
  void addBlock(SceneLine& line, const cv::Vec3f& middle, const cv::Vec3f& size, float turn, const cv::Vec3f& place,
                const Color& color)
  {
    const Shape shape = makeShape(Form::Block, middle, 0.5F * size);
    add(line, moved(shape, turnAboutVertical(turn), place), color);
  }

  static float takeTurn(SceneLine& line) { return line.accept("turn") ? line.takeAngle("the turn") : 0.0F; }

  void parseBox(SceneLine& line)
  {
    const cv::Vec3f place = takePoint(line);
    const float bottom = line.takeNumber("the height of its lower side", 0.0F, farthest);
    const float sizeX = takeSize(line, "its size along x");
    const float sizeY = takeSize(line, "its size along y");
    const float sizeZ = takeSize(line, "its height");
    const Color color = line.takeColor("its color");
    addBlock(line, {0.0F, 0.0F, bottom + 0.5F * sizeZ}, {sizeX, sizeY, sizeZ}, takeTurn(line), place, color);
  }

  void parseBall(SceneLine& line)
  {
    cv::Vec3f centre = takePoint(line);
    centre[2] = line.takeNumber("the height of its middle", 0.0F, farthest);
    const float radius = takeSize(line, "its radius");
    add(line, makeShape(Form::Ball, centre, {radius, radius, radius}), line.takeColor("its color"));
  }

  void parsePillar(SceneLine& line)
  {
    const cv::Vec3f place = takePoint(line);
    const float radius = takeSize(line, "its radius");
    const float height = takeSize(line, "its height");
    if (height <= radius)
      line.fail("a height above its radius");
    add(line, makeLimb(place, place + cv::Vec3f(0.0F, 0.0F, height - radius), radius), line.takeColor("its color"));
  }

  void parseTable(SceneLine& line)
  {
    const cv::Vec3f place = takePoint(line);
    const float length = takeSize(line, "its length");
    const float width = takeSize(line, "its width");
    const Color color = line.takeColor("its color");
    const float turn = takeTurn(line);
    constexpr float height = 0.73F;
    constexpr float leg = 0.05F;
    addBlock(line, {0.0F, 0.0F, height - 0.015F}, {width, length, 0.03F}, turn, place, color);
    for (const float x : {-0.5F, 0.5F})
    {
      for (const float y : {-0.5F, 0.5F})
        addBlock(line, {x * (width - leg), y * (length - leg), 0.35F}, {leg, leg, 0.7F}, turn, place, color);
    }
  }

  // Its back is behind who sits on it and faces along x before the turn.
  void parseChair(SceneLine& line)
  {
    const cv::Vec3f place = takePoint(line);
    const Color color = line.takeColor("its color");
    const float turn = takeTurn(line);
    constexpr float seat = 0.38F;
    addBlock(line, {0.0F, 0.0F, seat}, {0.45F, 0.45F, 0.06F}, turn, place, color);
    addBlock(line, {-0.25F, 0.0F, 0.70F}, {0.04F, 0.42F, 0.45F}, turn, place, color);
    addBlock(line, {0.0F, 0.0F, 0.20F}, {0.06F, 0.06F, 0.32F}, turn, place, color);
    addBlock(line, {0.0F, 0.0F, 0.04F}, {0.06F, 0.55F, 0.05F}, turn, place, color);
    addBlock(line, {0.0F, 0.0F, 0.04F}, {0.55F, 0.06F, 0.05F}, turn, place, color);
  }

  void addActor(SceneLine& line, Actor actor)
  {
    if (scene.actors.size() == mostActors)
      line.fail(fmt::format("at most {} actors", mostActors));
    if (std::ranges::any_of(scene.actors, [&](const Actor& other) { return other.name == actor.name; }))
      line.fail(fmt::format("a name that is not taken as \"{}\" is", actor.name));
    scene.actors.push_back(std::move(actor));
  }

  void parsePerson(SceneLine& line)
  {
    Actor person;
    person.name = line.takeWord("a name");
    while (!line.isAtEnd())
    {
      if (line.accept("height"))
        person.height = line.takeNumber("the height in metres", 0.5F, 2.3F);
      else if (line.accept("build"))
        person.build = line.takeNumber("the build", 0.6F, 1.6F);
      else if (line.accept("shirt"))
        person.shirt = line.takeColor("the shirt's color");
      else if (line.accept("trousers"))
        person.trousers = line.takeColor("the trousers' color");
      else if (line.accept("hair"))
        person.hair = line.takeColor("the hair's color");
      else if (line.accept("skin"))
        person.skin = line.takeColor("the skin's color");
      else
        line.fail("\"height\", \"build\", \"shirt\", \"trousers\", \"hair\" or \"skin\"");
    }
    addActor(line, std::move(person));
  }

  void parsePet(SceneLine& line)
  {
    Actor pet;
    pet.kind = Actor::Kind::Pet;
    pet.height = 0.4F;
    pet.name = line.takeWord("a name");
    while (!line.isAtEnd())
    {
      if (line.accept("height"))
        pet.height = line.takeNumber("the height of its back in metres", 0.1F, 1.0F);
      else if (line.accept("color"))
        pet.hair = line.takeColor("its color");
      else
        line.fail("\"height\" or \"color\"");
    }
    addActor(line, std::move(pet));
  }

  void parseAction(SceneLine& line)
  {
    if (scene.actors.empty())
      line.fail("a person or a pet before what it does");
    auto& actions = scene.actors.back().actions;
    const double time = takeTime(line);
    if (!actions.empty() && time < actions.back().time)
      line.fail(fmt::format("a time that is not before that of the line before, {}", actions.back().time));
    do
    {
      Action action = takeAction(line);
      action.time = time;
      if (actions.empty() && action.kind != Action::Kind::Place)
        line.fail("\"place\" as the first that an actor does");
      actions.push_back(action);
    } while (!line.isAtEnd());
  }

  static Action takeAction(SceneLine& line)
  {
    using Kind = Action::Kind;
    Action action;
    if (line.accept("place"))
      takeGoal(line, action, Kind::Place);
    else if (line.accept("walk"))
      takeWalk(line, action);
    else if (line.accept("face"))
      takeAim(line, action, Kind::Face);
    else if (line.accept("look"))
      takeAim(line, action, Kind::Look);
    else if (line.accept("wave"))
      takeWave(line, action);
    else if (line.accept("sit"))
      action.kind = Kind::Sit;
    else if (line.accept("stand"))
      action.kind = Kind::Stand;
    else if (line.accept("leave"))
      action.kind = Kind::Leave;
    else
      line.fail("one of place, walk, face, look, wave, sit, stand, leave");
    return action;
  }

  static void takeGoal(SceneLine& line, Action& action, Action::Kind kind)
  {
    action.kind = kind;
    action.x = takePlace(line, "x");
    action.y = takePlace(line, "y");
  }

  static void takeWalk(SceneLine& line, Action& action)
  {
    takeGoal(line, action, Action::Kind::Walk);
    if (line.accept("speed"))
      action.speed = line.takeNumber("metres a second", 0.05F, 10.0F);
  }

  static void takeAim(SceneLine& line, Action& action, Action::Kind kind)
  {
    action.kind = kind;
    if (line.accept("robot"))
      action.aim = Action::Aim::Robot;
    else if (line.accept("away"))
      action.aim = Action::Aim::Away;
    else if (line.accept("ahead"))
      action.aim = Action::Aim::Ahead;
    else
    {
      action.aim = Action::Aim::Angle;
      action.angle = line.takeAngle("robot, away, ahead or an angle");
    }
  }

  static void takeWave(SceneLine& line, Action& action)
  {
    action.kind = Action::Kind::Wave;
    action.leftArm = line.accept("left");
    action.rightArm = !action.leftArm && line.accept("right");
    if (!action.leftArm && !action.rightArm && line.accept("both"))
      action.leftArm = action.rightArm = true;
    if (!action.leftArm && !action.rightArm && !line.accept("none"))
      line.fail("\"left\", \"right\", \"both\" or \"none\"");
    if (line.accept("for"))
      action.seconds = static_cast<double>(line.takeNumber("seconds", 0.1F, longestScene));
  }

  Scene scene;
  bool hasVersion = false;
};

std::optional<fs::path> findScene(const fs::path& path)
{
  std::error_code unknown;
  if (fs::is_regular_file(path, unknown))
    return path;
  if (path.is_absolute() || path.string().find("..") != std::string::npos)
    return std::nullopt;
  const auto found = ku::path::findData(sceneFolder, path.string());
  return found ? found : ku::path::findData(sceneFolder, path.string() + extension);
}
}  // namespace

Scene parseScene(std::string_view text, const std::string& file)
{
  return SceneParser().parse(text, file);
}

Scene loadScene(const fs::path& path)
{
  const auto found = findScene(path);
  if (!found)
    throw SceneError(fmt::format("{}: expected a scene file or one of {}, got neither", path.string(),
                                 fmt::join(sceneNames(), ", ")));
  std::error_code unknown;
  if (fs::file_size(*found, unknown) > largestFile)
    throw SceneError(fmt::format("{}: expected at most {} bytes", found->string(), largestFile));
  std::ifstream stream(*found, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
  if (!stream)
    throw SceneError(fmt::format("{}: cannot be read", found->string()));
  return parseScene(text, found->string());
}

std::vector<std::string> sceneNames()
{
  std::vector<std::string> names;
  for (const fs::path& file : ku::path::listData(sceneFolder))
  {
    if (file.extension() == extension)
      names.push_back(file.stem().string());
  }
  return names;
}
}  // namespace ZR::Sim
