#include "sources/assimp/assimp_animation.h"

#include <assimp/anim.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <set>

#include "sources/assimp/assimp_transforms.h"

namespace kvl::sources {
namespace {

constexpr double kTicksPerSecond = 4800.0;
// Assimp's own assumption for files that give no rate of their own.
constexpr double kAssimpDefaultTicksPerSecond = 25.0;

// The frame rates of FBX's time modes, by the mode's number.
double FbxTimeModeRate(int mode, double custom) {
  switch (mode) {
    case 1: return 120;
    case 2: return 100;
    case 3: return 60;
    case 4: return 50;
    case 5: return 48;
    case 6: return 30;
    case 7: return 30;
    case 8: return 29.97;
    case 9: return 29.97;
    case 10: return 25;
    case 11: return 24;
    case 12: return 1000;
    case 13: return 23.976;
    case 14: return custom;
    case 15: return 96;
    case 16: return 72;
    case 17: return 59.94;
    default: return 0;
  }
}

double FileFrameRate(const AssimpBuild& build) {
  const aiMetadata* data = build.ai.mMetaData;
  if (!data) return 0;
  int32_t mode = -1;
  float custom = 0;
  data->Get("CustomFrameRate", custom);
  if (data->Get("FrameRate", mode)) return FbxTimeModeRate(mode, custom);
  return 0;
}

double SourceTicksPerSecond(const aiAnimation& animation) {
  return animation.mTicksPerSecond > 0 ? animation.mTicksPerSecond : kAssimpDefaultTicksPerSecond;
}

host::TimeValue ToTick(double time, double perSecond) {
  return static_cast<host::TimeValue>(std::llround(time / perSecond * kTicksPerSecond));
}

// One track's value at `time`: linear between keys, the end keys held.
template <class Key, class Value, class Mix>
Value Sample(const Key* keys, unsigned count, double time, Value fallback, Mix mix) {
  if (count == 0) return fallback;
  if (time <= keys[0].mTime) return keys[0].mValue;
  if (time >= keys[count - 1].mTime) return keys[count - 1].mValue;
  const Key* next = std::upper_bound(keys, keys + count, time, [](double t, const Key& k) { return t < k.mTime; });
  const Key* prev = next - 1;
  const double span = next->mTime - prev->mTime;
  const float u = span > 0 ? static_cast<float>((time - prev->mTime) / span) : 0.0f;
  return mix(prev->mValue, next->mValue, u);
}

aiMatrix4x4 ChannelMatrix(const aiNodeAnim& channel, double time, const aiMatrix4x4& rest) {
  aiVector3D restScale, restPosition;
  aiQuaternion restRotation;
  rest.Decompose(restScale, restRotation, restPosition);
  auto lerp = [](const aiVector3D& a, const aiVector3D& b, float u) { return a + (b - a) * u; };
  auto slerp = [](const aiQuaternion& a, const aiQuaternion& b, float u) {
    aiQuaternion out;
    aiQuaternion::Interpolate(out, a, b, u);
    return out.Normalize();
  };
  const aiVector3D position = Sample(channel.mPositionKeys, channel.mNumPositionKeys, time, restPosition, lerp);
  const aiQuaternion rotation = Sample(channel.mRotationKeys, channel.mNumRotationKeys, time, restRotation, slerp);
  const aiVector3D scale = Sample(channel.mScalingKeys, channel.mNumScalingKeys, time, restScale, lerp);
  // Scale first, then the turn, then the shift, as Assimp's own nodes hold
  // it. (Assimp's constructor from the three scales the rotation's rows,
  // which scales along the parent's axes after the turn: not the same
  // matrix once the scale is not uniform.)
  aiMatrix4x4 translation, scaling;
  aiMatrix4x4::Translation(position, translation);
  aiMatrix4x4::Scaling(scale, scaling);
  return translation * aiMatrix4x4(rotation.GetMatrix()) * scaling;
}

void AddTimes(const aiNodeAnim& channel, std::set<double>& times) {
  for (unsigned i = 0; i < channel.mNumPositionKeys; ++i) times.insert(channel.mPositionKeys[i].mTime);
  for (unsigned i = 0; i < channel.mNumRotationKeys; ++i) times.insert(channel.mRotationKeys[i].mTime);
  for (unsigned i = 0; i < channel.mNumScalingKeys; ++i) times.insert(channel.mScalingKeys[i].mTime);
}

}  // namespace

host::TimeValue TicksPerFrameFor(double framesPerSecond) {
  if (!(framesPerSecond > 0) || framesPerSecond > kTicksPerSecond) return 160;
  return static_cast<host::TimeValue>(std::lround(kTicksPerSecond / framesPerSecond));
}

const aiAnimation* ChooseAnimation(const aiScene& scene, const std::string& wanted) {
  if (wanted.empty()) return scene.mNumAnimations != 0 ? scene.mAnimations[0] : nullptr;
  std::string names;
  for (unsigned i = 0; i < scene.mNumAnimations; ++i) {
    const std::string name = Text(scene.mAnimations[i]->mName);
    if (name == wanted) return scene.mAnimations[i];
    names += (i ? ", " : "") + Quote(name);
  }
  if (!wanted.empty() && std::all_of(wanted.begin(), wanted.end(), [](char c) { return c >= '0' && c <= '9'; }) &&
      wanted.size() < 10) {
    const unsigned long index = std::stoul(wanted);
    if (index < scene.mNumAnimations) return scene.mAnimations[index];
  }
  Refuse("--animation " + wanted + ": the file has no animation of that name or index (" +
         (scene.mNumAnimations == 0 ? std::string("it has none") : std::to_string(scene.mNumAnimations) +
                                                                       ": " + names) +
         ")");
}

void BuildAnimation(AssimpBuild& build, const std::vector<std::pair<host::MemoryNode*, NodeOrigin>>& origins) {
  build.scene.ticksPerFrame = TicksPerFrameFor(FileFrameRate(build));
  build.scene.animationRange = host::Interval(0, 0);
  const aiAnimation* animation = ChooseAnimation(build.ai, build.options.animation);
  if (!animation) return;
  if (build.ai.mNumAnimations > 1) {
    build.notes.push_back("the file holds " + std::to_string(build.ai.mNumAnimations) + " animations; " +
                          Quote(Text(animation->mName)) + " is exported (--animation NAME|INDEX chooses another)");
  }

  std::map<std::string, const aiNodeAnim*> channels;
  for (unsigned c = 0; c < animation->mNumChannels; ++c) {
    const aiNodeAnim* channel = animation->mChannels[c];
    const std::string name = Text(channel->mNodeName);
    // Pivot helpers are in the map too, under their own names: each one's
    // channel finds its place in its node's chain below.
    if (build.nodesByName.count(name) == 0) {
      build.notes.push_back("animation " + Quote(Text(animation->mName)) + ": channel for node " + Quote(name) +
                            ", which the scene does not have, is left out");
      continue;
    }
    channels.emplace(name, channel);
  }

  const double perSecond = SourceTicksPerSecond(*animation);
  bool any = false;
  host::TimeValue first = 0, last = 0;
  for (const auto& [node, origin] : origins) {
    // Every key time of the node and of its pivot helpers; each track is
    // read at its own keys in between, so the keys reproduce it.
    std::set<double> times;
    for (const aiNode* link : origin.chain) {
      auto found = channels.find(Text(link->mName));
      if (found != channels.end()) AddTimes(*found->second, times);
    }
    if (times.empty()) continue;
    node->keys.clear();
    for (double time : times) {
      aiMatrix4x4 local;
      for (const aiNode* link : origin.chain) {
        auto found = channels.find(Text(link->mName));
        local = local * (found != channels.end() ? ChannelMatrix(*found->second, time, link->mTransformation)
                                                 : link->mTransformation);
      }
      const host::TimeValue tick = ToTick(time, perSecond);
      // Keys closer than a tick land on the same tick: the later one wins.
      if (!node->keys.empty() && node->keys.back().tick == tick) node->keys.pop_back();
      node->keys.push_back(KeyFromMatrix(tick, ToMatrix3(local)));
      first = any ? std::min(first, tick) : tick;
      last = any ? std::max(last, tick) : tick;
      any = true;
    }
  }
  if (any) build.scene.animationRange = host::Interval(first, last);
  if (animation->mDuration > 0) {
    // The animation's own span where it gives one that reaches further.
    last = std::max(last, ToTick(animation->mDuration, perSecond));
    build.scene.animationRange = host::Interval(any ? first : 0, last);
  }
}

}  // namespace kvl::sources
