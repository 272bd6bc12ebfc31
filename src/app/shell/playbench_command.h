#pragma once

namespace brevelan {

// `brevelan playbench PROJECT [--seconds N]`: plays the open sequence through
// the real playback engine, without a window, from its start for N seconds
// (10 by default, at most its length) and reports the pictures shown, drawn
// and dropped, and what a picture costs the compositor on average.
int runPlaybench(int argc, char** argv);

}  // namespace brevelan
