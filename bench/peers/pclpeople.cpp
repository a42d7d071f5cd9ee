// The people of one depth frame, found by the filters of the 3D people program and by PCL's ground-based detector.
//
//   frame -> segmentation -> heads -> tracker -> zones, posture, waving      ours, without faces
//   frame -> point cloud -> voxels -> ground -> clusters -> heads            theirs, without the classifier
//
// PCL comes without a trained classifier, which would judge the people that it has found by the colour image. Without
// one that last step costs nothing, so that the figure is to our disadvantage.
// Source: M. Munaro, F. Basso, E. Menegatti, "Tracking people within groups with RGB-D data", IROS 2012.

#include "bench/peers/report.h"
#include "filtrix/cameraformats.h"
#include "filtrix/image.h"
#include "filtrix/ku/clock.h"
#include "platform/sim/robotbody.h"
#include "program/filtrixprivate.h"
#include "tools/filtrix/scenerun.h"

#include <CLI/CLI.hpp>
#include <fmt/core.h>
#include <opencv2/core.hpp>
#include <pcl/console/print.h>
#include <pcl/people/ground_based_people_detection_app.h>
#include <pcl/point_types.h>

#include <cmath>
#include <cstdio>
#include <exception>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace
{
using namespace ZR::Filtrix;
using namespace ZR::Filtrix::Bench;
using Detector = pcl::people::GroundBasedPeopleDetectionApp<pcl::PointXYZRGBA>;
using Cloud = pcl::PointCloud<pcl::PointXYZRGBA>;

constexpr const char* wholeProgram = R"(
  filter Measured
  {
    Identity robot; PeopleCandidates3D candidates; HumanTracker tracker;
    EngagementZonesPeople zones; SittingPeopleDetection posture; WavingDetection waving;
    robot -> candidates:cameraPositionRobot; robot -> tracker:cameraPosition;
    candidates:population -> tracker:populationIn; tracker:populationOut -> zones:population;
    zones:population -> posture:population; posture:population -> waving:population;
    candidates:depthImage <= depthImage; candidates:cameraPositionTorso <= cameraPositionTorso;
    robot:in <= cameraPositionRobot; candidates:cameraPositionWorld <= cameraPositionWorld;
    candidates:heightOffset <= heightOffset;
    tracker:maxSpeed(8.0) <= maxSpeed; tracker:persistenceNonVisible(10.0) <= persistenceNonVisible;
    tracker:persistenceVisible(1.0) <= persistenceVisible; tracker:colorWeight(0.0) <= colorWeight;
    waving:population => population;
  }
)";

std::string processOn(const char* filter)
{
  return fmt::format("process people({}, 8, 1000) {{ depthImage <= SceneDepth; cameraPositionTorso <= SceneTorso; "
                     "cameraPositionRobot <= SceneRobot; cameraPositionWorld <= SceneWorld; "
                     "heightOffset <= SceneHeightOffset; population => population; }}",
                     filter);
}

// Where the frame was taken from, and what of the world it shows.
struct Camera
{
  explicit Camera(const ZR::Sim::Scene& scene)
      : pose(ZR::Sim::cameraPose(scene, ZR::Sim::Camera::depth, ZR::MotionFrame::World, 0.0)),
        angles(ZR::Sim::viewAngles(ZR::Sim::Camera::depth, width, height))
  {
  }

  static constexpr int width = 320;
  static constexpr int height = 240;

  ZR::ZRMath::Transform pose;
  ZR::ViewAngles angles;

  [[nodiscard]] float horizontalFov() const { return angles.left - angles.right; }

  [[nodiscard]] float verticalFov() const { return angles.top - angles.bottom; }

  // Pixels per metre at a depth of one metre.
  [[nodiscard]] float focal() const { return 0.5F * width / std::tan(0.5F * horizontalFov()); }
};

// The filters on the same frame over and over, a tenth of a second apart.
class Ours
{
public:
  Ours(const ZR::Sim::Scene& scene, const std::string& program) : camera(scene), frames(scene, sceneOptions(program))
  {
    static_cast<void>(frames.step());
    const DataPtr frame = frames.session().registry().getSourceData("SceneDepth");
    if (!frame || frame->type() != TypeTag::DepthImage)
      throw std::runtime_error("the scene has given no depth frame");
    pixels = Type::toCvMat(*frame);
  }

  // The people who were found.
  std::size_t run()
  {
    FiltrixPrivate& registry = frames.session().registry();
    clock.advance(std::chrono::milliseconds(100));
    const Time now = Time::now();
    const auto value = makeData(
        std::make_shared<Type::DepthImage>(pixels, "SceneDepth", now, camera.horizontalFov(), camera.verticalFov()));
    value->setTimestamp(now);
    registry.setData("SceneDepth", value);
    const DataPtr people = registry.getData("people:population");
    return people && people->type() == TypeTag::Array ? people->toArray().size() : 0;
  }

  [[nodiscard]] const cv::Mat& depth() const { return pixels; }

private:
  static Tool::SceneRunOptions sceneOptions(const std::string& program)
  {
    Tool::SceneRunOptions options;
    options.program = program;
    return options;
  }

  const Camera camera;
  Tool::SceneRun frames;
  ku::ManualClock clock{std::chrono::hours(2)};
  cv::Mat pixels;
};

// The detector as its makers set it up, but for sizes of people, which are those of the filters.
class Theirs
{
public:
  Theirs(const ZR::Sim::Scene& scene, cv::Mat depth_) : camera(scene), depth(std::move(depth_))
  {
    // It complains of the missing classifier with every person.
    pcl::console::setVerbosityLevel(pcl::console::L_ALWAYS);
    Eigen::Matrix3f intrinsics;
    intrinsics << camera.focal(), 0.0F, 0.5F * Camera::width, 0.0F, camera.focal(), 0.5F * Camera::height, 0.0F, 0.0F,
        1.0F;
    detector.setIntrinsics(intrinsics);
    pcl::people::PersonClassifier<pcl::RGB> untrained;
    untrained.setSVM(0, 0, {}, 0.0F);
    detector.setClassifier(untrained);
    detector.setVoxelSize(0.06F);
    detector.setPersonClusterLimits(0.9F, 2.2F, 0.1F, 8.0F);
  }

  // The people who were found.
  std::size_t run() { return run(makeCloud()); }

  std::size_t run(Cloud::Ptr cloud)
  {
    detector.setInputCloud(cloud);
    Eigen::VectorXf plane = ground();  // a call improves it, and would begin with the last one's
    detector.setGround(plane);
    std::vector<pcl::people::PersonCluster<pcl::PointXYZRGBA>> people;
    if (!detector.compute(people))
      throw std::runtime_error("the detector did not run");
    return people.size();
  }

  // x to the right, y down, z along the axis; in metres. What was not measured is not a number.
  [[nodiscard]] Cloud::Ptr makeCloud() const
  {
    const auto cloud = pcl::make_shared<Cloud>(Camera::width, Camera::height);
    cloud->is_dense = false;
    const float perPixel = 1.0F / camera.focal();
    constexpr float none = std::numeric_limits<float>::quiet_NaN();
    for (int v = 0; v < Camera::height; ++v)
    {
      const auto* const row = depth.ptr<std::uint16_t>(v);
      const float down = (static_cast<float>(v) + 0.5F - 0.5F * Camera::height) * perPixel;
      for (int u = 0; u < Camera::width; ++u)
      {
        const float right = (static_cast<float>(u) + 0.5F - 0.5F * Camera::width) * perPixel;
        const float z = row[u] != 0 ? 0.001F * row[u] : none;
        pcl::PointXYZRGBA& point = (*cloud)(u, v);
        point.x = right * z;
        point.y = down * z;
        point.z = z;
      }
    }
    return cloud;
  }

private:
  // The plane z = 0 of the world in the camera's frame, its normal upwards.
  [[nodiscard]] Eigen::VectorXf ground() const
  {
    const Eigen::Matrix4f world = camera.pose.toMatrix().cast<float>();
    Eigen::VectorXf plane(4);
    plane << -world(2, 1), -world(2, 2), world(2, 0), world(2, 3);
    return plane;
  }

  const Camera camera;
  const cv::Mat depth;
  Detector detector;
};

// Both beside each other, on the way from the frame to the people; the detector with its point cloud made beforehand,
// too.
void compareOn(const ZR::Sim::Scene& scene, const char* what, const std::string& program, std::optional<Goal> goal,
               std::size_t rounds, Report& report)
{
  Ours ours(scene, program);
  Theirs theirs(scene, ours.depth());
  // It takes the tracker some frames to believe in a person.
  std::size_t found = 0;
  for (int frame = 0; frame < 20; ++frame)
    found = ours.run();
  const std::size_t theirFound = theirs.run();
  if (found == 0 || theirFound == 0)
    throw std::runtime_error(
        fmt::format("expected both to find people, got {} by the filters and {} by the detector", found, theirFound));
  const Loop our{[&] { ours.run(); }};
  report.add(fmt::format("{}, {} found", what, found), fmt::format("PCL's detector, {} found", theirFound),
             compareInRounds(rounds, our, {[&] { theirs.run(); }}), goal);
  const Cloud::Ptr cloud = theirs.makeCloud();
  report.add("the same", "with its cloud ready", compareInRounds(rounds, our, {[&] { theirs.run(cloud); }}));
}
}  // namespace

int main(int argc, char** argv)
{
  std::string scene = "threedistances";
  std::size_t rounds = 31;
  bool json = false;
  CLI::App app("Finds the people of one depth frame with our filters and with PCL.");
  app.add_option("--scene", scene, "the scene whose first frame is looked at")->capture_default_str();
  app.add_option("--rounds", rounds, "rounds of every comparison")->check(CLI::Range(1, 100'000));
  app.add_flag("--json", json, "print JSON instead of a table");
  CLI11_PARSE(app, argc, argv);
  try
  {
    const ZR::Sim::Scene loaded = ZR::Sim::loadScene(scene);
    Report report(json);
    compareOn(loaded, "people program", std::string(wholeProgram) + processOn("Measured"), Goal{1.5, 0.5}, rounds,
              report);
    compareOn(loaded, "its candidates alone", processOn("PeopleCandidates3D"), {}, rounds, report);
    if (json)
      fmt::print("{}\n", report.toJson());
    return 0;
  }
  catch (const std::exception& exception)
  {
    fmt::print(stderr, "pclpeople: {}\n", exception.what());
    return 2;
  }
}
