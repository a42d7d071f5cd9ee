#include "platform/sim/body.h"

#include <algorithm>
#include <cmath>

namespace ZR::Sim
{
namespace
{
using cv::Vec3f;

// Shares of a person's height.
namespace Share
{
constexpr float hip = 0.52F;    // heights above the ground of one who stands
constexpr float seat = 0.285F;  // of the hip of one who sits
constexpr float shoulder = 0.815F;
constexpr float headHalf = 0.066F;  // half axes of the head
constexpr float headHalfWidth = 0.045F;
constexpr float headHalfDepth = 0.056F;
constexpr float thigh = 0.245F;  // lengths
constexpr float shin = 0.235F;
constexpr float upperArm = 0.175F;
constexpr float forearm = 0.150F;
constexpr float hipAside = 0.050F;  // places aside of the middle
constexpr float shoulderAside = 0.110F;
}  // namespace Share

Vec3f lerp(const Vec3f& a, const Vec3f& b, float share)
{
  return a + (b - a) * share;
}

// A person before turning and placing: looks along x, stands on the origin.
class Skeleton final
{
public:
  Skeleton(const Actor& actor_, const ActorState& state_) : state(state_), h(actor_.height), wide(actor_.build)
  {
    hip = h * (Share::hip + (Share::seat - Share::hip) * state.sitting);
    lowered = h * Share::hip - hip;
  }

  [[nodiscard]] float top() const { return h - lowered; }

  [[nodiscard]] Vec3f head() const { return {0.02F * h, 0.0F, top() - h * Share::headHalf}; }

  struct Arm
  {
    Vec3f shoulder;
    Vec3f elbow;
    Vec3f hand;
  };

  // Side 1 is left, -1 right.
  [[nodiscard]] Arm arm(float side) const
  {
    const float swing = -0.45F * state.walking * std::sin(state.stride) * side;
    Arm arm;
    arm.shoulder = {0.0F, side * Share::shoulderAside * h * wide, h * Share::shoulder - lowered};
    const Vec3f hangingUpper(std::sin(swing), side * 0.14F, -std::cos(swing));
    const Vec3f hangingLower(std::sin(swing + 0.25F), side * 0.02F, -std::cos(swing + 0.25F));
    // The hands of who sits lie in the lap.
    const Vec3f restingLower(0.85F, -side * 0.35F, -0.35F);
    const float wave = 0.55F * std::sin(state.wavePhase);
    const Vec3f raisedUpper(0.25F, side * 0.95F, 0.10F);
    const Vec3f raisedLower(0.15F, side * (0.15F + std::sin(wave)), std::cos(wave));
    const float up = side > 0.0F ? state.leftArmUp : state.rightArmUp;
    const Vec3f upper = cv::normalize(lerp(hangingUpper, raisedUpper, up));
    const Vec3f lower = cv::normalize(lerp(lerp(hangingLower, restingLower, state.sitting), raisedLower, up));
    arm.elbow = arm.shoulder + upper * (Share::upperArm * h);
    arm.hand = arm.elbow + lower * (Share::forearm * h);
    return arm;
  }

  void add(std::vector<Shape>& out, const BodyMaterials& materials) const
  {
    addTrunk(out, materials);
    for (const float side : {1.0F, -1.0F})
    {
      addArm(out, materials, arm(side));
      addLeg(out, materials, side);
    }
  }

private:
  void addTrunk(std::vector<Shape>& out, const BodyMaterials& materials) const
  {
    Shape skull =
        makeShape(Form::Ball, head(), {Share::headHalfDepth * h, Share::headHalfWidth * h, Share::headHalf * h});
    put(out, turnedAbout(skull, head(), state.headYaw - state.bodyYaw), materials.head);
    const float shoulder = h * Share::shoulder - lowered;
    put(out, makeLimb({0.0F, 0.0F, shoulder}, {0.008F * h, 0.0F, shoulder + 0.07F * h}, 0.031F * h), materials.skin);
    put(out, flatLimb(shoulder - 0.20F * h, shoulder - 0.035F * h, 0.072F, 0.098F), materials.shirt);
    put(out, flatLimb(hip + 0.0F * h, shoulder - 0.15F * h, 0.068F, 0.088F), materials.shirt);
    put(out, flatLimb(hip - 0.03F * h, hip + 0.03F * h, 0.072F, 0.092F), materials.trousers);
    const float aside = (Share::shoulderAside - 0.01F) * h * wide;
    put(out, makeLimb({0.0F, -aside, shoulder - 0.005F * h}, {0.0F, aside, shoulder - 0.005F * h}, 0.036F * h * wide),
        materials.shirt);
  }

  void addArm(std::vector<Shape>& out, const BodyMaterials& materials, const Arm& arm) const
  {
    put(out, makeLimb(arm.shoulder, arm.elbow, 0.029F * h * wide), materials.shirt);
    put(out, makeLimb(arm.elbow, arm.hand, 0.023F * h * wide), materials.shirt);
    const Vec3f along = cv::normalize(arm.hand - arm.elbow);
    put(out, makeLimb(arm.hand, arm.hand + along * (0.055F * h), 0.024F * h), materials.skin);
  }

  void addLeg(std::vector<Shape>& out, const BodyMaterials& materials, float side) const
  {
    const float swing = 0.42F * state.walking * std::sin(state.stride) * side;
    // The knee of the leg that comes forward bends.
    const float bend = 0.55F * state.walking * std::max(0.0F, std::cos(state.stride) * side);
    const Vec3f top(0.0F, side * Share::hipAside * h, hip);
    const Vec3f standingThigh(std::sin(swing), 0.0F, -std::cos(swing));
    const Vec3f sittingThigh(1.0F, side * 0.10F, -0.05F);
    const Vec3f thigh = cv::normalize(lerp(standingThigh, sittingThigh, state.sitting));
    const Vec3f knee = top + thigh * (Share::thigh * h);
    const float shinSwing = swing - bend;
    const Vec3f shin =
        cv::normalize(lerp({std::sin(shinSwing), 0.0F, -std::cos(shinSwing)}, {0.05F, 0.0F, -1.0F}, state.sitting));
    const Vec3f ankle = knee + shin * (Share::shin * h);
    put(out, makeLimb(top, knee, 0.046F * h * wide), materials.trousers);
    put(out, makeLimb(knee, ankle, 0.031F * h * wide), materials.trousers);
    put(out,
        makeShape(Form::Ball, {ankle[0] + 0.04F * h, ankle[1], std::max(0.02F * h, ankle[2] - 0.015F * h)},
                  {0.078F * h, 0.028F * h, 0.022F * h}),
        materials.shoes);
  }

  // An upright capsule with an oval section, between two heights; the half axes are shares of the height.
  [[nodiscard]] Shape flatLimb(float low, float high, float halfDepth, float halfWidth) const
  {
    const float radius = halfDepth * h * wide;
    Shape shape = makeLimb({0.0F, 0.0F, std::min(low, high - 0.01F)}, {0.0F, 0.0F, high}, radius);
    const float stretch = halfWidth / halfDepth;
    shape.toWorld = cv::Matx33f::diag({1.0F, stretch, 1.0F}) * shape.toWorld;
    shape.toOwn = shape.toOwn * cv::Matx33f::diag({1.0F, 1.0F / stretch, 1.0F});
    return shape;
  }

  static Shape turnedAbout(const Shape& shape, const Vec3f& centre, float angle)
  {
    const cv::Matx33f turn = turnAboutVertical(angle);
    return moved(shape, turn, centre - turn * centre);
  }

  static void put(std::vector<Shape>& out, Shape shape, std::int16_t material)
  {
    shape.material = material;
    out.push_back(shape);
  }

  const ActorState& state;
  const float h;     // metres
  const float wide;  // as a multiple of an average person
  float hip = 0.0F;  // metres above the ground
  float lowered = 0.0F;
};

// Something like a dog: a body, a head, four legs and a tail.
void addPet(std::vector<Shape>& out, const Actor& pet, const ActorState& state, std::int16_t material)
{
  const float h = pet.height;
  const std::size_t first = out.size();
  out.push_back(makeLimb({-0.45F * h, 0.0F, 0.78F * h}, {0.40F * h, 0.0F, 0.80F * h}, 0.21F * h));
  out.push_back(makeShape(Form::Ball, {0.75F * h, 0.0F, 1.05F * h}, {0.26F * h, 0.17F * h, 0.18F * h}));
  out.push_back(makeLimb({-0.6F * h, 0.0F, 0.9F * h}, {-0.95F * h, 0.0F, 1.1F * h}, 0.04F * h));
  for (const float x : {-0.45F, 0.40F})
  {
    for (const float side : {1.0F, -1.0F})
    {
      const float swing = 0.2F * state.walking * std::sin(state.stride * 2.0F) * side * (x > 0.0F ? 1.0F : -1.0F);
      out.push_back(
          makeLimb({x * h, side * 0.14F * h, 0.7F * h}, {(x + swing) * h, side * 0.14F * h, 0.07F * h}, 0.06F * h));
    }
  }
  for (std::size_t i = first; i < out.size(); ++i)
    out[i].material = material;
}
}  // namespace

void addBody(std::vector<Shape>& shapes, const Actor& actor, const ActorState& state, const BodyMaterials& materials,
             std::int16_t owner)
{
  if (!state.isPresent)
    return;
  const std::size_t first = shapes.size();
  if (actor.kind == Actor::Kind::Pet)
    addPet(shapes, actor, state, materials.skin);
  else
    Skeleton(actor, state).add(shapes, materials);
  const cv::Matx33f turn = turnAboutVertical(state.bodyYaw);
  for (std::size_t i = first; i < shapes.size(); ++i)
  {
    shapes[i] = moved(shapes[i], turn, {state.x, state.y, 0.0F});
    shapes[i].owner = owner;
  }
}

float topOf(const Actor& actor, const ActorState& state)
{
  return actor.kind == Actor::Kind::Pet ? 1.23F * actor.height : Skeleton(actor, state).top();
}

BodyPoints pointsOf(const Actor& actor, const ActorState& state)
{
  const Skeleton skeleton(actor, state);
  const cv::Matx33f turn = turnAboutVertical(state.bodyYaw);
  const Vec3f place(state.x, state.y, 0.0F);
  return {turn * skeleton.head() + place, turn * skeleton.arm(1.0F).hand + place,
          turn * skeleton.arm(-1.0F).hand + place};
}
}  // namespace ZR::Sim
