#pragma once

namespace brevelan {

// Text layout needs a QGuiApplication. This makes one on the `offscreen`
// platform (unless QT_QPA_PLATFORM already names another) when none exists
// yet, so titles render headless in tools and tests. Entry points call it on
// the main thread before any other work; the text code calls it again
// defensively. A program that creates its own QApplication first keeps it:
// the call then does nothing. Safe to call from any thread, any number of times.
void ensureGuiEnvironment();

}  // namespace brevelan
