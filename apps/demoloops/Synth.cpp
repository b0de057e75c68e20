#include "Synth.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <numbers>

namespace demo {
namespace {

constexpr double kTurn = 2 * std::numbers::pi;

// White noise that is the same on every run and every machine.
class Noise {
 public:
  explicit Noise(uint32_t seed) : m_state(seed * 2654435761u + 1) {}
  float next() {
    m_state = m_state * 1664525u + 1013904223u;
    return static_cast<float>(m_state >> 8) / 8388608.0f - 1.0f;
  }

 private:
  uint32_t m_state;
};

// The loop being rendered; what sounds beyond its end is cut.
class Track {
 public:
  explicit Track(size_t frames) : m_samples(frames, 0.0f) {}

  // Adds `seconds` of voice(t) from `start` seconds on; t counts from the start of the sound.
  template <typename Voice>
  void add(double start, double seconds, Voice voice) {
    const auto first = static_cast<size_t>(start * kSampleRate);
    const auto frames = static_cast<size_t>(seconds * kSampleRate);
    for (size_t i = 0; i < frames && first + i < m_samples.size(); ++i) {
      m_samples[first + i] += static_cast<float>(voice(static_cast<double>(i) / kSampleRate));
    }
  }

  std::vector<float> take() {
    for (float& sample : m_samples) sample = std::clamp(sample, -1.0f, 1.0f);
    return std::move(m_samples);
  }

 private:
  std::vector<float> m_samples;
};

double frequency(int midiNote) {
  return 440.0 * std::pow(2.0, (midiNote - 69) / 12.0);
}

void kick(Track& track, double at) {
  track.add(at, 0.25,
            [](double t) { return 0.9 * std::exp(-14 * t) * std::sin(kTurn * (50 * t - 9 * std::exp(-30 * t))); });
}

void snare(Track& track, double at, uint32_t seed) {
  track.add(at, 0.18, [noise = Noise(seed)](double t) mutable {
    return std::exp(-22 * t) * (0.35 * noise.next() + 0.3 * std::sin(kTurn * 190 * t));
  });
}

void shaker(Track& track, double at, double level, uint32_t seed) {
  track.add(at, 0.06, [level, noise = Noise(seed), last = 0.0f](double t) mutable {
    const float value = noise.next();
    const float bright = value - last;
    last = value;
    return level * std::exp(-60 * t) * bright;
  });
}

// A tone with the given strengths of its harmonics.
template <size_t N>
void tone(Track& track, double at, double seconds, int note, double level, double decay,
          const std::array<double, N>& harmonics) {
  const double pitch = frequency(note);
  track.add(at, seconds, [=](double t) {
    double value = 0;
    for (size_t i = 0; i < N; ++i) value += harmonics[i] * std::sin(kTurn * pitch * static_cast<double>(i + 1) * t);
    const double attack = std::min(1.0, t / 0.01);
    const double release = std::min(1.0, (seconds - t) / 0.02);
    return level * attack * release * std::exp(-decay * t) * value;
  });
}

void drumPattern(Track& track, const Recipe& recipe, double beat) {
  for (int i = 0; i < recipe.beats; ++i) {
    const double at = i * beat;
    if (i % 2 == 0 || recipe.variant == 3) kick(track, at);
    if (i % 2 == 1) snare(track, at, static_cast<uint32_t>(i));
    if (i % 4 == 2 && recipe.variant > 1) kick(track, at + 0.5 * beat);
    for (int half = 0; half < 2; ++half) shaker(track, at + half * beat / 2, 0.25, static_cast<uint32_t>(2 * i + half));
  }
}

void percussionPattern(Track& track, const Recipe& recipe, double beat) {
  for (int i = 0; i < recipe.beats * 4; ++i) {
    const double level = i % 4 == 0 ? 0.6 : (i + recipe.variant) % 3 == 0 ? 0.45 : 0.2;
    shaker(track, i * beat / 4, level, static_cast<uint32_t>(i + 7));
  }
}

void bassPattern(Track& track, const Recipe& recipe, double beat) {
  constexpr std::array<double, 4> kHarmonics = {1.0, 0.5, 0.3, 0.15};
  const std::array<int, 4> steps = {0, recipe.variant > 1 ? 7 : 0, recipe.isMinor ? 3 : 4, 5};
  for (int i = 0; i < recipe.beats; ++i) {
    const int note = recipe.rootNote - 12 + steps[static_cast<size_t>(i) % steps.size()];
    tone(track, i * beat, 0.9 * beat, note, 0.4, 2.0, kHarmonics);
  }
}

void chords(Track& track, const Recipe& recipe, double beat, double decay) {
  constexpr std::array<double, 3> kHarmonics = {1.0, 0.35, 0.12};
  const std::array<int, 3> chord = {0, recipe.isMinor ? 3 : 4, 7};
  const int every = recipe.variant > 1 ? 2 : 4;
  for (int i = 0; i < recipe.beats; i += every) {
    const double seconds = std::min(every, recipe.beats - i) * beat;
    for (const int step : chord) tone(track, i * beat, seconds, recipe.rootNote + 12 + step, 0.16, decay, kHarmonics);
  }
}

}  // namespace

std::vector<float> rendered(const Recipe& recipe) {
  const double beat = 60.0 / recipe.beatsPerMinute;
  Track track(static_cast<size_t>(std::lround(recipe.beats * beat * kSampleRate)));
  switch (recipe.instrument) {
    case Instrument::drums:
      drumPattern(track, recipe, beat);
      break;
    case Instrument::percussion:
      percussionPattern(track, recipe, beat);
      break;
    case Instrument::bass:
      bassPattern(track, recipe, beat);
      break;
    case Instrument::keys:
      chords(track, recipe, beat, 2.5);
      break;
    case Instrument::strings:
      chords(track, recipe, beat, 0.2);
      break;
  }
  return track.take();
}

}  // namespace demo
