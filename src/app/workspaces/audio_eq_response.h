#pragma once

#include <span>
#include <utility>
#include <vector>

namespace brevelan {

// The clip EQ's magnitude response: (frequency in Hz, gain in dB) at `points`
// frequencies spread evenly on a log scale from 20 Hz to 20 kHz, for the same
// sections the mixer runs (flat bands skipped as it skips them).
std::vector<std::pair<double, double>> eqResponse(std::span<const double> gains, int points = 160);

// The response of the bands alone at one frequency, in dB.
double eqResponseAt(std::span<const double> gains, double frequency);

}  // namespace brevelan
