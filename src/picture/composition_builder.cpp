#include "picture/composition_builder.h"

#include <algorithm>
#include <set>

#include "media/asset_cache.h"
#include "media/derived_files.h"
#include "picture/track_allocator.h"
#include "sound/mixer.h"

namespace brevelan {
namespace {

constexpr int kMaxDepth = 8;

struct Span {
  std::int64_t from, to;
};

bool touches(const Clip& prev, const Clip& clip) { return prev.start + prev.duration == clip.start; }

// The transition span on the cut at a clip's head, centred on the cut (an odd
// length gives the extra frame to the incoming side).
Span transitionSpan(std::int64_t cut, std::int64_t length) {
  const std::int64_t start = cut - length / 2;
  return {start, start + length};
}

// Stands for a side of a transition that has no picture.
const LayerRef& nothing() {
  static const LayerRef none = [] {
    auto item = std::make_shared<LayerItem>();
    item->clip.enabled = false;
    return item;
  }();
  return none;
}

class EntryBuilder {
 public:
  EntryBuilder(const Project& project, bool proxies) : project_(project), proxies_(proxies) {}

  // The entries of `seq`, whose frame n lands on composition frame offset + n,
  // showing only sequence frames window.from … window.to − 1.
  std::vector<RenderEntry> build(const BrevSequence& seq, std::int64_t offset, Span window, int depth) {
    std::vector<RenderEntry> entries;
    const Span visible{offset + window.from, offset + window.to};
    for (const Track& track : seq.video) {
      const std::size_t count = track.clips.size();
      std::shared_ptr<LayerItem> previous;  // the item of the clip before, if drawn
      for (std::size_t i = 0; i < count; ++i) {
        const Clip& clip = track.clips[i];
        const Clip* before = i > 0 ? &track.clips[i - 1] : nullptr;
        const Clip* after = i + 1 < count ? &track.clips[i + 1] : nullptr;
        const bool head = before && clip.transitionIn && touches(*before, clip) && clip.transitionIn->duration >= 1;
        const bool tail = after && after->transitionIn && touches(clip, *after) && after->transitionIn->duration >= 1;
        const std::int64_t cs = offset + clip.start;
        const std::int64_t ce = cs + clip.duration;
        const Span in = head ? transitionSpan(cs, clip.transitionIn->duration) : Span{cs, cs};
        const Span out = tail ? transitionSpan(ce, after->transitionIn->duration) : Span{ce, ce};

        auto item = std::make_shared<LayerItem>();
        item->clip = clip;
        item->rate = seq.rate;
        item->clipStart = cs;
        item->visFrom = std::max(head ? in.from : cs, visible.from);
        item->visTo = std::min(tail ? out.to : ce, visible.to);
        item->plainFrom = std::max(head ? in.to : cs, visible.from);
        item->plainTo = std::min(tail ? out.from : ce, visible.to);
        const bool drawn = clip.enabled && item->visFrom < item->visTo && describe(*item, seq, depth);
        if (head && (drawn || previous)) {
          // A side that draws nothing blends as transparency: over black, a
          // transition from or to nothing reads as a fade.
          entries.emplace_back(TransitionEntry{previous ? previous : nothing(), drawn ? item : nothing(),
                                               *clip.transitionIn, std::max(in.from, visible.from),
                                               std::min(in.to, visible.to)});
        }
        if (drawn) entries.emplace_back(LayerRef(item));
        previous = drawn ? item : nullptr;
      }
    }
    return entries;
  }

  std::size_t sourceTracks() const { return allocator_.trackCount(); }

 private:
  // Sets what the item draws; false when it draws nothing.
  bool describe(LayerItem& item, const BrevSequence& seq, int depth) {
    const Clip& clip = item.clip;
    if (clip.source.titleSpec()) {
      item.kind = LayerKind::title;
      return true;
    }
    if (clip.source.color()) {
      item.kind = LayerKind::color;
      return true;
    }
    if (const Uuid* nested = clip.source.nestedID()) {
      const BrevSequence* inner = project_.sequence(*nested);
      if (!inner || depth + 1 >= kMaxDepth || inner->id == seq.id) return false;
      item.kind = LayerKind::group;
      item.groupWidth = static_cast<int>(inner->width);
      item.groupHeight = static_cast<int>(inner->height);
      // Inner frame n sits at clipStart + (n − sourceIn); the handles of a
      // transition on the nest show the inner frames around the window.
      const std::int64_t offset = item.clipStart - clip.sourceIn;
      item.group = build(*inner, offset, {item.visFrom - offset, item.visTo - offset}, depth + 1);
      return true;
    }
    const Uuid* mediaID = clip.source.mediaID();
    const MediaItem* media = mediaID ? project_.mediaItem(*mediaID) : nullptr;
    if (!media) return false;
    if (media->kind == MediaKind::image) {
      item.kind = LayerKind::still;
      item.stillFile = media->path;
      return true;
    }
    if (!media->hasVideo) return false;
    const std::string path = AssetCache::picturePath(*media, proxies_, clip.speed.reverse);
    const auto asset = AssetCache::shared().asset(path);
    if (!asset) return false;  // the media cannot be opened: nothing to draw, the build goes on
    item.kind = LayerKind::video;
    item.video.file = path;
    item.video.fileFps = av_q2d((*asset)->rate) > 0 ? av_q2d((*asset)->rate) : static_cast<double>(seq.rate.num) / static_cast<double>(seq.rate.den);
    item.video.fileFrames = (*asset)->frameCount;
    item.video.reversedCopy = clip.speed.reverse && path == derived::reversedPath(*media).string();
    item.trackID = allocator_.allocate(item.visFrom, item.visTo);
    return true;
  }

  const Project& project_;
  bool proxies_;
  TrackAllocator allocator_;
};

std::vector<BrevInstruction> cut(const std::shared_ptr<const RenderPlan>& plan, std::int64_t total) {
  std::set<std::int64_t> bounds{0, total};
  for (const RenderEntry& entry : plan->entries) {
    const auto [from, to] = entrySpan(entry);
    bounds.insert(std::clamp<std::int64_t>(from, 0, total));
    bounds.insert(std::clamp<std::int64_t>(to, 0, total));
  }
  std::vector<BrevInstruction> instructions;
  for (auto it = bounds.begin(); std::next(it) != bounds.end(); ++it) {
    BrevInstruction instruction;
    instruction.from = *it;
    instruction.to = *std::next(it);
    instruction.plan = plan;
    std::set<std::int32_t> ids;
    for (const RenderEntry& entry : plan->entries) {
      const auto [from, to] = entrySpan(entry);
      if (from >= instruction.to || to <= instruction.from) continue;
      instruction.entries.push_back(entry);
      for (const std::int32_t id : entryTrackIDs(entry)) ids.insert(id);
    }
    instruction.requiredTrackIDs.assign(ids.begin(), ids.end());
    instructions.push_back(std::move(instruction));
  }
  return instructions;
}

}  // namespace

const BrevInstruction* CompositionBuild::instructionAt(std::int64_t f) const {
  const auto it = std::upper_bound(instructions.begin(), instructions.end(), f,
                                   [](std::int64_t frame, const BrevInstruction& i) { return frame < i.to; });
  return it != instructions.end() && it->from <= f ? &*it : nullptr;
}

std::shared_ptr<CompositionBuild> buildComposition(const Project& project, const BrevSequence& seq,
                                                   const BuildOptions& options) {
  auto plan = std::make_shared<RenderPlan>();
  plan->canvasWidth = static_cast<int>(seq.width);
  plan->canvasHeight = static_cast<int>(seq.height);
  plan->outputWidth = options.output ? options.output->first : plan->canvasWidth;
  plan->outputHeight = options.output ? options.output->second : plan->canvasHeight;
  plan->reframe = options.reframe;
  plan->rate = seq.rate;
  plan->burnCaptions = options.burnCaptions;
  plan->captions.assign(seq.captions.begin(), seq.captions.end());
  std::stable_sort(plan->captions.begin(), plan->captions.end(),
                   [](const Caption& a, const Caption& b) { return a.start < b.start; });
  plan->captionStyle = seq.captionStyle;

  const std::int64_t total = seq.duration();
  EntryBuilder builder(project, options.useProxies);
  plan->entries = builder.build(seq, 0, {0, total}, 0);

  auto build = std::make_shared<CompositionBuild>();
  build->plan = plan;
  build->duration = total;
  build->sourceTracks = builder.sourceTracks();
  build->instructions = cut(plan, total);
  if (options.withStems) {
    const Mixer mixer(project);
    for (const Track& track : seq.audio) {
      auto stem = StemCache::shared().stem(mixer, seq, track);
      if (!stem) {
        build->soundProblem = stem.error();
        build->stems.emplace_back();
      } else {
        build->stems.push_back(std::move(stem).value());
      }
    }
    build->audioMix = makeAudioMix(seq);
  }
  return build;
}

}  // namespace brevelan
