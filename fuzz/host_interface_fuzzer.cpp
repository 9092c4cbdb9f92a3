// libFuzzer target: the module's host interface under arbitrary host
// behaviour. Each input decodes into a sequence of host calls on fresh
// instances, made only through the entry functions, the AEffect record and
// vtable positions, as a host would:
//   - any dispatcher opcode 0..100 with any index, value and opt, and a valid
//     buffer of the size hosts give where the opcode takes one (heap buffers
//     of exactly that size, so AddressSanitizer sees any write beyond);
//   - setParameter / getParameter with any index and any float;
//   - sample-rate changes (valid, zero, negative, NaN, infinite, huge);
//   - blocks of -5 .. 4096 samples of any content (NaN, infinities,
//     denormals, 1e300, raw bit patterns), in place or not;
//   - program changes through opcode 2 and the setProgram(long) slot, the
//     host-extension slots, single-precision blocks, close and reopen, and
//     the block-capacity reservation the LV2 wrapper makes.
// Besides the sanitizers' checks it asserts what must hold for any host:
// texts are terminated inside their buffers, empty blocks and blocks before
// the first valid rate leave or pass the audio untouched, and a built
// instance whose knobs were only ever set within 0..1 gives finite, bounded
// output for finite input. Half the inputs also run on the plain engine,
// whose audio must equal the fast engine's bit for bit.
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <vector>

#include "VtableCall.h"
#include "effect/InternalControl.h"
#include "frame/AEffect.h"
#include "frame/HostExtensionSlots.h"
#include "frame/QTypeIF.h"
#include "support/OutputBound.h"

extern "C" void* getinterface(audioMasterCallback);
extern "C" void* QTypeIF(audioMasterCallback);

namespace {

constexpr int kMaxOpsPerInput = 200;
constexpr int32_t kMaxBlock = 4096;

[[noreturn]] void fail(const char* what) {
  std::fprintf(stderr, "host-interface invariant broken: %s\n", what);
  std::abort();
}

void check(bool condition, const char* what) {
  if (!condition) fail(what);
}

// Reads the input front to back; an exhausted input reads as zeros.
class ByteStream {
 public:
  ByteStream(const uint8_t* data, size_t size) : data_(data), left_(size) {}

  bool empty() const { return left_ == 0; }
  uint8_t byte() {
    if (left_ == 0) return 0;
    --left_;
    return *data_++;
  }
  template <typename T>
  T raw() {
    unsigned char bytes[sizeof(T)] = {};
    for (auto& b : bytes) b = byte();
    T value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
  }
  // An entry of `table` for small selectors, raw bytes otherwise.
  template <typename T, size_t N>
  T pick(const T (&table)[N]) {
    const uint8_t selector = byte();
    return selector < N ? table[selector] : raw<T>();
  }

 private:
  const uint8_t* data_;
  size_t left_;
};

constexpr float kNaN = NAN, kInf = INFINITY;
constexpr double kQuietNaN = NAN, kSignalingNaN = std::numeric_limits<double>::signaling_NaN();

const int32_t kIndexes[] = {0, 1, 2, 3, 4, -1, 5, 15, 16, 17, 100, -100, INT32_MIN, INT32_MAX};
const intptr_t kValues[] = {0, 1, 2, 3, 15, 16, -1, -16, 255, 256, 12345, INTPTR_MIN, INTPTR_MAX};
const long kPrograms[] = {0, 1, 7, 15, 16, -1, 100, LONG_MIN, LONG_MAX};
const float kFloats[] = {0.0f,   1.0f,    0.5f,  0.25f, 0.75f,  0.999f,  -0.0f,
                         -1.0f,  1.0001f, 2.0f,  1e30f, -1e30f, FLT_MAX, FLT_MIN,
                         1e-40f, kNaN,    -kNaN, kInf,  -kInf};
const float kRates[] = {44100.0f, 48000.0f,   96000.0f,  192000.0f, 8000.0f,  22050.0f, 11025.0f,
                        32000.0f, 88200.0f,   176400.0f, 384000.0f, 44056.0f, 47999.9f, 48000.5f,
                        1000.0f,  1536000.0f, 62.4f,     62.5f,     0.0f,     -0.0f,    -44100.0f,
                        1e-30f,   1e10f,      kNaN,      kInf,      -kInf};
const int32_t kBlockLengths[] = {-5,  -1,  0,   1,   2,    3,    17,   64,   128,
                                 255, 256, 511, 512, 1000, 1024, 2048, 4095, 4096};
const double kSpecialSamples[] = {kQuietNaN, -kQuietNaN,   kSignalingNaN, kInf,  -kInf,  DBL_MAX,
                                  -DBL_MAX,  DBL_TRUE_MIN, DBL_MIN / 2.0, 1e300, -1e300, -0.0,
                                  0.0,       1.0};
const double kAmplitudes[] = {1e-310, 1e-6, 0.1, 1.0, 100.0, 1e300};

bool isValidRate(float rate) {
  return std::isfinite(rate) && rate >= 62.5f && rate < 2147483648.0f;
}

// Host side of the entry functions: answers the version query.
intptr_t host(AEffect*, int32_t opcode, int32_t, intptr_t, void*, float) {
  return opcode == audioMasterVersion ? 2400 : 0;
}

constexpr char kUnwritten = 0x7f;

// Heap bytes, exactly `size` of them, all `fill`.
std::unique_ptr<char[]> zeroed(size_t size, char fill = 0) {
  auto buffer = std::make_unique<char[]>(size);
  std::memset(buffer.get(), fill, size);
  return buffer;
}

// A terminated string of 0..limit bytes from the input.
std::unique_ptr<char[]> inputString(ByteStream& in, size_t limit) {
  const size_t length = in.byte() % (limit + 1);
  auto text = zeroed(length + 1);
  for (size_t i = 0; i < length; ++i)
    text[i] = static_cast<char>(in.byte() | 1);  // no early terminator
  return text;
}

// A text query either writes a terminated text or leaves the buffer as it
// was (unknown indexes, texts the effect does not have).
void checkTextWrite(const char* buffer, size_t size, const char* what) {
  bool untouched = true;
  for (size_t i = 0; i < size; ++i) untouched = untouched && buffer[i] == kUnwritten;
  check(untouched || std::memchr(buffer, 0, size) != nullptr, what);
}

// One live effect instance and what the host has done to it.
struct Plugin {
  AEffect* effect = nullptr;
  bool built = false;      // a valid sample rate has been set
  bool wildKnobs = false;  // volume, tone or sustain was ever set outside 0..1 (or NaN)

  void open(bool viaQTypeIF, veltrax::Engine engine) {
    auto* object = static_cast<Q_TypeIF*>(viaQTypeIF ? QTypeIF(host) : getinterface(host));
    check(object != nullptr, "entry function returned null for a willing host");
    effect = object->effect;
    delete object;  // the instance lives on until close
    check(veltrax::selectEngine(effect, engine), "engine selection refused");
    built = false;
    wildKnobs = false;
  }

  void close() {
    if (!effect) return;
    check(effect->dispatcher(effect, effClose, 0, 0, nullptr, 0.0f) == 1, "close answers 1");
    effect = nullptr;
  }

  intptr_t dispatch(int32_t opcode, int32_t index, intptr_t value, void* ptr, float opt) {
    return effect->dispatcher(effect, opcode, index, value, ptr, opt);
  }

  void noteParameter(int32_t index, float value) {
    if (index >= 1 && index <= 3 && !(value >= 0.0f && value <= 1.0f)) wildKnobs = true;
  }
};

// Text queries: buffer size by opcode, as hosts size them.
size_t textBufferSize(int32_t opcode) {
  switch (opcode) {
    case effGetProgramName:
    case effGetProgramNameIndexed:
      return kProgramNameBufferSize;
    case effGetParamLabel:
    case effGetParamDisplay:
    case effGetParamName:
      return kParamTextBufferSize;
    case effGetEffectName:
      return kEffectNameBufferSize;
    case effGetVendorString:
    case effGetProductString:
    case effShellGetNextPlugin:
      return kProductStringBufferSize;
    default:
      return 0;
  }
}

// Opcodes whose ptr is a record the host fills in or hands over; the
// effect's answers to these are neutral, but they get a real record.
bool takesRecord(int32_t opcode) {
  for (int32_t record :
       {effEditOpen, effProcessEvents, effGetInputProperties, effGetOutputProperties,
        effOfflineNotify, effOfflinePrepare, effOfflineRun, effProcessVarIo, effVendorSpecific,
        effGetMidiProgramName, effGetCurrentMidiProgram, effGetMidiProgramCategory,
        effGetMidiKeyName, effBeginLoadBank, effBeginLoadProgram})
    if (opcode == record) return true;
  return false;
}

// Block content: raw bit patterns, noise at some level, a special value
// throughout, or noise with special values sprinkled in.
void fillBlock(std::vector<double>& block, ByteStream& in) {
  const uint8_t mode = in.byte() % 4;
  const double amplitude = kAmplitudes[in.byte() % 6];
  const double special = kSpecialSamples[in.byte() % 14];
  const size_t stride = 1 + in.byte();
  uint64_t lcg = in.raw<uint16_t>();
  for (size_t i = 0; i < block.size(); ++i) {
    lcg = lcg * 6364136223846793005ull + 1442695040888963407ull;
    const double noise = amplitude * (static_cast<double>(lcg >> 11) * 0x1.0p-52 - 1.0);
    if (mode == 0)
      block[i] = in.empty() ? noise : in.raw<double>();
    else
      block[i] = mode == 1 || (mode == 3 && i % stride != 0) ? noise : special;
  }
}

// One run of an input: up to two instances driven by the decoded calls.
// Every output sample is appended to `audio`, so that a second run of the
// same input on the other engine can be compared with it.
class Session {
 public:
  Session(const uint8_t* data, size_t size, veltrax::Engine engine)
      : in_(data, size), engine_(engine) {}

  std::vector<double> run() {
    // Operations by the low six bits of an operation byte, modulo 11.
    static constexpr void (Session::*kOperations[])(Plugin&) = {
        &Session::dispatchAny,  &Session::setParameter,  &Session::setSampleRate,
        &Session::processBlock, &Session::processBlock,  &Session::setProgramLong,
        &Session::displayOf,    &Session::hostExtension, &Session::processSingle,
        &Session::reserve,      &Session::reopen};
    const uint8_t setup = in_.byte();
    plugins_[0].open(setup & 1, engine_);
    if (setup & 2) plugins_[1].open(setup & 4, engine_);
    for (int op = 0; op < kMaxOpsPerInput && !in_.empty(); ++op) {
      const uint8_t code = in_.byte();
      Plugin& plugin = plugins_[code >> 7];
      if (!plugin.effect) plugin.open(code & 0x40, engine_);
      code_ = code;
      (this->*kOperations[(code & 0x3f) % std::size(kOperations)])(plugin);
    }
    for (Plugin& plugin : plugins_) plugin.close();
    return std::move(audio_);
  }

 private:
  void reserve(Plugin& plugin) { veltrax::reserveBlockCapacity(plugin.effect, blockLength()); }
  void reopen(Plugin& plugin) {
    plugin.close();
    plugin.open(code_ & 0x40, engine_);  // the same entry function choice as the operation byte
  }

  void dispatchAny(Plugin& plugin) {
    const int32_t opcode = in_.byte() % 101;
    const int32_t index = in_.pick(kIndexes);
    const intptr_t value = in_.pick(kValues);
    float opt = in_.pick(kFloats);
    const bool nullPointer = in_.byte() & 1;

    if (opcode == effClose) {
      plugin.close();
      return;
    }
    if (opcode == effSetSampleRate) {
      opt = in_.pick(kRates);
      if (isValidRate(opt)) plugin.built = true;
    }

    if (const size_t size = textBufferSize(opcode)) {
      auto text = zeroed(size, kUnwritten);
      plugin.dispatch(opcode, index, value, text.get(), opt);
      checkTextWrite(text.get(), size, "text query left its buffer unterminated");
    } else if (opcode == effSetProgramName || opcode == effString2Parameter || opcode == effCanDo) {
      auto text = inputString(in_, 100);
      plugin.dispatch(opcode, index, value, text.get(), opt);
    } else if (opcode == effGetParameterProperties) {
      auto properties = zeroed(kParameterPropertiesBufferSize);
      plugin.dispatch(opcode, index, value, properties.get(), opt);
    } else if (opcode == effEditGetRect || opcode == effGetChunk) {
      void* target = nullptr;  // pointer-to-pointer arguments
      plugin.dispatch(opcode, index, value, &target, opt);
    } else if (opcode == effSetChunk) {
      const size_t size = in_.byte();
      auto chunk = zeroed(size + 1);
      plugin.dispatch(opcode, index, static_cast<intptr_t>(size), chunk.get(), opt);
    } else if (opcode == effSetSpeakerArrangement) {
      auto input = zeroed(8 + 8 * 112), output = zeroed(8 + 8 * 112);
      plugin.dispatch(opcode, index, reinterpret_cast<intptr_t>(input.get()), output.get(), opt);
    } else if (opcode == effGetSpeakerArrangement) {
      void* input = nullptr;
      void* output = nullptr;
      plugin.dispatch(opcode, index, reinterpret_cast<intptr_t>(&input), &output, opt);
    } else {
      // A record of 256 bytes; opcodes without a pointer argument get null or
      // that scratch record, as a careless host might pass along.
      auto record = zeroed(256);
      const bool none = nullPointer && !takesRecord(opcode);
      plugin.dispatch(opcode, index, value, none ? nullptr : record.get(), opt);
    }

    const intptr_t program = plugin.dispatch(effGetProgram, 0, 0, nullptr, 0.0f);
    check(program >= 0 && program < 16, "current program left 0..15");
  }

  void setParameter(Plugin& plugin) {
    const int32_t index = in_.pick(kIndexes);
    const float value = in_.pick(kFloats);
    plugin.noteParameter(index, value);
    plugin.effect->setParameter(plugin.effect, index, value);
    const float read = plugin.effect->getParameter(plugin.effect, index);
    if (index >= 0 && index <= 3)
      check(std::memcmp(&read, &value, sizeof read) == 0 || (std::isnan(read) && std::isnan(value)),
            "getParameter differs from the value just set");
    else
      check(read == 0.0f, "unknown parameter reads non-zero");
  }

  void setSampleRate(Plugin& plugin) {
    const float rate = in_.pick(kRates);
    if (isValidRate(rate)) plugin.built = true;
    plugin.dispatch(effSetSampleRate, 0, 0, nullptr, rate);
  }

  void setProgramLong(Plugin& plugin) {
    const long program = in_.pick(kPrograms);
    callVirtualSlot<void, long>(plugin.effect->object, kSlotSetProgramLong, program);
    if (program >= 0 && program < 16)
      check(plugin.dispatch(effGetProgram, 0, 0, nullptr, 0.0f) == program,
            "setProgram(long) did not switch");
  }

  void displayOf(Plugin& plugin) {
    const int32_t index = in_.pick(kIndexes);
    const float value = in_.pick(kFloats);
    auto text = zeroed(kParamTextBufferSize, kUnwritten);
    callVirtualSlot<void, int32_t, float, char*>(plugin.effect->object, kSlotGetParameterDisplayOf,
                                                 index, value, text.get());
    checkTextWrite(text.get(), kParamTextBufferSize,
                   "display of a value left its buffer unterminated");
    if (index < 0 || index > 3)
      check(text[0] == kUnwritten, "display of an unknown parameter wrote text");
  }

  void hostExtension(Plugin& plugin) {
    static const int32_t kAnswers[] = {1, 1, 1, 1, 0, 0, -1};  // jack and signal counts
    void* object = plugin.effect->object;
    const int slot = kSlotGetNumOfInJacks + in_.byte() % 11;
    const int32_t jack = in_.pick(kIndexes);
    if (slot <= kSlotGetNumOfOutJacks || slot == kSlotGetDryInSigNum) {
      check(callVirtualSlot<int32_t>(object, slot) == kAnswers[slot - kSlotGetNumOfInJacks],
            "jack count");
    } else if (slot < kSlotSetListner) {
      check(callVirtualSlot<int32_t, int32_t>(object, slot, jack) ==
                kAnswers[slot - kSlotGetNumOfInJacks],
            "signal count");
    } else if (slot == kSlotSetListner) {
      auto listener = zeroed(64);
      callVirtualSlot<void, void*>(object, slot, (in_.byte() & 1) ? nullptr : listener.get());
    } else if (slot == kSlotGetParameterDisplayOf) {
      displayOf(plugin);
    } else if (slot == kSlotSetTime) {
      callVirtualSlot<void, float>(object, slot, in_.pick(kFloats));
    } else {
      check(callVirtualSlot<int32_t>(object, slot) == 1, "header version");
    }
  }

  // -5 .. kMaxBlock samples.
  int32_t blockLength() {
    const int32_t n = in_.pick(kBlockLengths);
    const int32_t span = kMaxBlock + 6;
    return n < -5 || n > kMaxBlock ? (n % span + span) % span - 5 : n;
  }

  void processBlock(Plugin& plugin) {
    const int32_t length = blockLength();
    const bool inPlace = in_.byte() & 1;
    const size_t size = length > 0 ? static_cast<size_t>(length) : 1;
    std::vector<double> input(size, 42.0), output(size, -42.0);
    if (length > 0) fillBlock(input, in_);
    if (inPlace) output = input;
    const std::vector<double> original = input;

    double* inputs = inPlace ? output.data() : input.data();
    double* outputs = output.data();
    plugin.effect->processDoubleReplacing(plugin.effect, &inputs, &outputs, length);

    if (length <= 0) {
      check(output[0] == (inPlace ? 42.0 : -42.0), "an empty block wrote audio");
      return;
    }
    audio_.insert(audio_.end(), output.begin(), output.end());
    if (!plugin.built) {
      check(std::memcmp(output.data(), original.data(), size * sizeof(double)) == 0,
            "a block before the first valid rate did not pass its input through");
      return;
    }
    if (!inPlace)
      check(std::memcmp(input.data(), original.data(), size * sizeof(double)) == 0,
            "input was written");
    if (plugin.wildKnobs) return;
    for (size_t i = 0; i < size; ++i)
      if (std::isfinite(original[i])) {
        check(std::isfinite(output[i]), "finite input gave non-finite output");
        check(testhost::withinOutputBound(original[i], output[i]),
              "output louder than input and effect path");
      }
  }

  void processSingle(Plugin& plugin) {
    const int32_t n = in_.byte();
    std::vector<float> input(n + 1, 0.25f), output(n + 1, -0.5f);
    float* inputs = input.data();
    float* outputs = output.data();
    plugin.effect->processReplacing(plugin.effect, &inputs, &outputs, n);
    for (float x : output) check(x == -0.5f, "single-precision block wrote output");
  }

  ByteStream in_;
  veltrax::Engine engine_;
  uint8_t code_ = 0;  // the operation byte being decoded
  Plugin plugins_[2];
  std::vector<double> audio_;
};

// Same samples, a NaN matching a NaN of any payload.
bool sameAudio(const std::vector<double>& a, const std::vector<double>& b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i)
    if (std::memcmp(&a[i], &b[i], sizeof(double)) != 0 && !(std::isnan(a[i]) && std::isnan(b[i])))
      return false;
  return true;
}

}  // namespace

// Every input runs on the fast engine; inputs whose first byte has bit 3 set
// run again on the plain engine, which must give the same audio bit for bit.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::vector<double> fast = Session(data, size, veltrax::Engine::fast).run();
  if (size > 0 && (data[0] & 8))
    check(sameAudio(fast, Session(data, size, veltrax::Engine::plain).run()),
          "plain and fast engines differ");
  return 0;
}
