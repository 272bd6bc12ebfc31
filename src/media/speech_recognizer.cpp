#include "media/speech_recognizer.h"

#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cstdint>
#include <span>
#include <thread>
#include <utility>
#include <vector>

#include <pocketsphinx.h>

#include "media/ffmpeg_ptr.h"

#ifndef BREVELAN_SPEECH_MODELS
#define BREVELAN_SPEECH_MODELS "/usr/share/pocketsphinx/model"
#endif

namespace brevelan {
namespace {

namespace fs = std::filesystem;

constexpr int kRate = 16000;  // what the acoustic model was trained on
constexpr std::size_t kFrame = kRate / 100;
// Stretches handed to the decoder: long enough for its per-stretch cepstral
// mean to settle, short enough that cancelling and progress stay prompt.
constexpr std::size_t kMinStretch = 6 * kRate;
constexpr std::size_t kMaxStretch = 15 * kRate;
constexpr std::size_t kCutWindow = 30;  // frames (0.3 s) of the quietest place to cut at

TranscriptionError recognitionFailure(std::string message) {
  return TranscriptionError{TranscriptionError::kDomain, TranscriptionError::kRecognitionFailed, std::move(message)};
}

TranscriptionError cancelled() {
  return TranscriptionError{TranscriptionError::kDomain, TranscriptionError::kCancelled,
                            "Transcription was cancelled."};
}

struct Paths {
  fs::path acoustic, language, dictionary;

  explicit Paths(const fs::path& models)
      : acoustic(models / "en-us" / "en-us"),
        language(models / "en-us" / "en-us.lm.bin"),
        dictionary(models / "en-us" / "cmudict-en-us.dict") {}

  bool present() const {
    std::error_code ec;
    return fs::is_directory(acoustic, ec) && fs::is_regular_file(language, ec) && fs::is_regular_file(dictionary, ec);
  }
};

struct ConfigDeleter {
  void operator()(cmd_ln_t* config) const { cmd_ln_free_r(config); }
};
struct DecoderDeleter {
  void operator()(ps_decoder_t* decoder) const { ps_free(decoder); }
};
using DecoderPtr = std::unique_ptr<ps_decoder_t, DecoderDeleter>;

DecoderPtr makeDecoder(const Paths& paths) {
  // Silence is kept so that frame numbers stay sample-exact; the stretches
  // are cut at pauses instead.
  std::unique_ptr<cmd_ln_t, ConfigDeleter> config(cmd_ln_init(
      nullptr, ps_args(), TRUE, "-hmm", paths.acoustic.c_str(), "-lm", paths.language.c_str(), "-dict",
      paths.dictionary.c_str(), "-logfn", "/dev/null", "-remove_silence", "no", "-samprate", "16000", nullptr));
  if (!config) return nullptr;
  return DecoderPtr(ps_init(config.get()));  // the decoder keeps its own reference to the config
}

// The first sound stream of a file, decoded and converted to 16 kHz mono
// 16-bit as it is asked for.
class SpeechSound {
 public:
  std::string open(const fs::path& file) {
    std::string why;
    input_ = ff::openInput(file.string(), &why);
    if (!input_) return "cannot open " + file.string() + ": " + why;
    stream_ = av_find_best_stream(input_.get(), AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
    if (stream_ < 0) return file.filename().string() + " has no sound";
    for (unsigned i = 0; i < input_->nb_streams; ++i)
      if (static_cast<int>(i) != stream_) input_->streams[i]->discard = AVDISCARD_ALL;
    decoder_ = ff::openDecoder(input_->streams[stream_], false);
    if (!decoder_) return file.filename().string() + ": no decoder for its sound";
    packet_ = ff::makePacket();
    frame_ = ff::makeFrame();
    return {};
  }

  // Samples the whole file is expected to hold; 0 when the file does not say.
  std::int64_t expectedSamples() const {
    if (input_->duration <= 0) return 0;
    return av_rescale(input_->duration, kRate, AV_TIME_BASE);
  }

  // Appends decoded samples to `out` until it has grown by `count` or the sound ends.
  // False when the sound has ended (what was decoded is still appended).
  bool read(std::vector<std::int16_t>& out, std::size_t count) {
    const std::size_t goal = out.size() + count;
    while (out.size() < goal) {
      if (ended_) return false;
      const int status = avcodec_receive_frame(decoder_.get(), frame_.get());
      if (status == 0) {
        convert(out, frame_.get());
        av_frame_unref(frame_.get());
        continue;
      }
      if (status == AVERROR_EOF || draining_) {
        if (resampler_) convert(out, nullptr);
        ended_ = true;
        continue;
      }
      if (status != AVERROR(EAGAIN) && ++errors_ > 64) {
        draining_ = true;  // a damaged stream: keep what decoded
        continue;
      }
      if (av_read_frame(input_.get(), packet_.get()) < 0) {
        draining_ = true;
        avcodec_send_packet(decoder_.get(), nullptr);
        continue;
      }
      if (packet_->stream_index == stream_) avcodec_send_packet(decoder_.get(), packet_.get());
      av_packet_unref(packet_.get());
    }
    return true;
  }

 private:
  // The decoder knows the real layout only after its first frame.
  bool prepare() {
    // Everything is folded to mono, so the usual layout for the channel count will do.
    AVChannelLayout in{};
    av_channel_layout_default(&in, std::max(1, decoder_->ch_layout.nb_channels));
    AVChannelLayout out{};
    av_channel_layout_default(&out, 1);
    SwrContext* raw = nullptr;
    const int status = swr_alloc_set_opts2(&raw, &out, AV_SAMPLE_FMT_S16, kRate, &in, decoder_->sample_fmt,
                                           decoder_->sample_rate, 0, nullptr);
    av_channel_layout_uninit(&in);
    av_channel_layout_uninit(&out);
    resampler_.reset(raw);
    return status >= 0 && swr_init(resampler_.get()) >= 0;
  }

  // frame null: flush what the resampler still holds.
  void convert(std::vector<std::int16_t>& out, const AVFrame* frame) {
    if (!resampler_ && (!frame || !prepare())) {
      resampler_.reset();
      return;
    }
    const int inCount = frame ? frame->nb_samples : 0;
    const int room = swr_get_out_samples(resampler_.get(), inCount);
    if (room <= 0) return;
    const std::size_t start = out.size();
    out.resize(start + static_cast<std::size_t>(room));
    std::uint8_t* target[1] = {reinterpret_cast<std::uint8_t*>(out.data() + start)};
    const int made = swr_convert(resampler_.get(), target, room,
                                 frame ? const_cast<const std::uint8_t**>(frame->extended_data) : nullptr, inCount);
    out.resize(start + static_cast<std::size_t>(std::max(made, 0)));
  }

  ff::InputPtr input_;
  ff::CodecPtr decoder_;
  ff::ResamplePtr resampler_;
  ff::PacketPtr packet_;
  ff::FramePtr frame_;
  int stream_ = -1;
  int errors_ = 0;
  bool draining_ = false;
  bool ended_ = false;
};

// Where to end a stretch of `samples` that is at least kMinStretch long: the
// middle of its quietest 0.3 s after kMinStretch, so words are rarely cut.
std::size_t cutPoint(const std::vector<std::int16_t>& samples) {
  const std::size_t frames = samples.size() / kFrame;
  std::vector<std::int64_t> energy(frames);
  for (std::size_t f = 0; f < frames; ++f) {
    std::int64_t sum = 0;
    for (std::size_t i = f * kFrame; i < (f + 1) * kFrame; ++i) sum += std::int64_t{samples[i]} * samples[i];
    energy[f] = sum;
  }
  const std::size_t first = kMinStretch / kFrame;
  if (frames < first + kCutWindow) return samples.size();
  std::int64_t window = 0;
  for (std::size_t f = first; f < first + kCutWindow; ++f) window += energy[f];
  std::int64_t best = window;
  std::size_t bestStart = first;
  for (std::size_t f = first + kCutWindow; f < frames; ++f) {
    window += energy[f] - energy[f - kCutWindow];
    if (window < best) {
      best = window;
      bestStart = f - kCutWindow + 1;
    }
  }
  return (bestStart + kCutWindow / 2) * kFrame;
}

// The dictionary's spelling of a word as shown: alternative pronunciations
// ("read(2)") lose their number, and the pronoun I is a capital.
std::string shownWord(std::string word) {
  if (const auto paren = word.find('('); paren != std::string::npos && paren > 0) word.erase(paren);
  if (word == "i" || word.starts_with("i'")) word[0] = 'I';
  return word;
}

// Silence, breath and noise markers, not words.
bool isFiller(const char* word) { return !word || word[0] == '<' || word[0] == '[' || word[0] == '+'; }

class PocketSphinxTask final : public RecognitionTask, public std::enable_shared_from_this<PocketSphinxTask> {
 public:
  PocketSphinxTask(Paths paths, RecognitionRequest request, RecognitionHandler handler, RecognitionProgress progress)
      : paths_(std::move(paths)),
        request_(std::move(request)),
        handler_(std::move(handler)),
        progress_(std::move(progress)) {}

  ~PocketSphinxTask() override {
    // The thread holds the task until its last line, so it is finishing here.
    if (thread_.joinable()) {
      if (thread_.get_id() == std::this_thread::get_id())
        thread_.detach();
      else
        thread_.join();
    }
  }

  void start() {
    thread_ = std::thread([self = shared_from_this()] {
      pthread_setname_np(pthread_self(), "vael.brevelan.s");
      auto outcome = self->run();
      // Only final results are reported (partial results are never asked for here).
      if (outcome)
        self->handler_(RecognitionResult{true, std::move(*outcome)});
      else
        self->handler_(Unexpected{outcome.error()});
      self->handler_ = nullptr;
      self->progress_ = nullptr;
    });
  }

  void cancel() override { cancelled_ = true; }

 private:
  Expected<std::vector<TimedWord>, TranscriptionError> run() {
    if (cancelled_) return Unexpected{cancelled()};
    SpeechSound sound;
    if (const std::string why = sound.open(request_.file); !why.empty())
      return Unexpected{recognitionFailure("Could not read the sound to transcribe: " + why + ".")};
    DecoderPtr decoder = makeDecoder(paths_);
    if (!decoder) return Unexpected{recognitionFailure("The speech recognizer could not load its English model.")};
    decoder_ = decoder.get();
    total_ = sound.expectedSamples();

    std::vector<TimedWord> words;
    std::vector<std::int16_t> pending;
    std::int64_t pendingStart = 0;  // sample of pending[0] in the file
    bool more = true;
    while (more || !pending.empty()) {
      if (cancelled_) return Unexpected{cancelled()};
      if (more && pending.size() < kMaxStretch) {
        more = sound.read(pending, kMaxStretch - pending.size());
        continue;
      }
      const std::size_t cut = more ? cutPoint(pending) : pending.size();
      if (!listen(std::span(pending.data(), cut), pendingStart, words))
        return Unexpected{recognitionFailure("The speech recognizer failed.")};
      pending.erase(pending.begin(), pending.begin() + static_cast<std::ptrdiff_t>(cut));
      pendingStart += static_cast<std::int64_t>(cut);
      report(pendingStart);
    }
    return words;
  }

  // One stretch as one utterance; its words are appended, timed from the file's start.
  bool listen(std::span<const std::int16_t> samples, std::int64_t start, std::vector<TimedWord>& words) {
    if (samples.size() < kFrame * 10) return true;  // too short to hold a word
    if (ps_start_utt(decoder_) < 0) return false;
    if (ps_process_raw(decoder_, samples.data(), samples.size(), FALSE, TRUE) < 0) return false;
    if (ps_end_utt(decoder_) < 0) return false;
    const int frameRate = static_cast<int>(cmd_ln_int32_r(ps_get_config(decoder_), "-frate"));
    const double offset = static_cast<double>(start) / kRate;
    for (ps_seg_t* seg = ps_seg_iter(decoder_); seg; seg = ps_seg_next(seg)) {
      const char* word = ps_seg_word(seg);
      if (isFiller(word)) continue;
      int first = 0, last = 0;
      ps_seg_frames(seg, &first, &last);
      words.push_back(TimedWord{shownWord(word), offset + static_cast<double>(first) / frameRate,
                                static_cast<double>(last - first + 1) / frameRate});
    }
    return true;
  }

  void report(std::int64_t done) {
    if (!progress_ || total_ <= 0) return;
    progress_(std::clamp(static_cast<double>(done) / static_cast<double>(total_), 0.0, 1.0));
  }

  Paths paths_;
  RecognitionRequest request_;
  RecognitionHandler handler_;
  RecognitionProgress progress_;
  std::atomic<bool> cancelled_{false};
  ps_decoder_t* decoder_ = nullptr;
  std::int64_t total_ = 0;
  std::thread thread_;
};

class PocketSphinxRecognizer final : public LocaleRecognizer {
 public:
  explicit PocketSphinxRecognizer(Paths paths) : paths_(std::move(paths)) {}

  bool isAvailable() const override { return paths_.present(); }
  bool supportsOnDeviceRecognition() const override { return true; }

  std::shared_ptr<RecognitionTask> recognitionTask(const RecognitionRequest& request, RecognitionHandler handler,
                                                   RecognitionProgress progress) override {
    auto task = std::make_shared<PocketSphinxTask>(paths_, request, std::move(handler), std::move(progress));
    task->start();
    return task;
  }

 private:
  Paths paths_;
};

}  // namespace

fs::path PocketSphinxEngine::defaultModels() { return BREVELAN_SPEECH_MODELS; }

PocketSphinxEngine::PocketSphinxEngine(fs::path models) : models_(std::move(models)) {}

bool PocketSphinxEngine::modelInstalled() const { return Paths(models_).present(); }

std::shared_ptr<LocaleRecognizer> PocketSphinxEngine::recognizer(const std::string& locale) {
  std::string key = locale;
  for (char& c : key) c = c == '_' ? '-' : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (key != "en-us" || !modelInstalled()) return nullptr;
  return std::make_shared<PocketSphinxRecognizer>(Paths(models_));
}

}  // namespace brevelan
