#pragma once

#include <filesystem>
#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

#include "edit/media_probe.h"
#include "model/expected.h"
#include "model/project.h"

namespace brevelan {

// `brevelan probe FILE…`: prints each file's MediaItem as JSON (in the form the
// project file stores it) or its MediaError message. 0 when every file was
// accepted, 1 when any was refused, 2 without files.
int runProbeCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

// Writes the demo media into `folder` and returns the sample project with
// them in its bin and on its timeline: movies with linked sound, a rotated
// phone movie, a picture, music and a tone, ahead of the titles, colour
// mattes, nested sequence, transitions, markers and captions of the plain
// sample. `step` hears each file's name before it is written.
Expected<Project, std::string> makeSampleProjectWithMedia(const std::filesystem::path& folder, const MediaProber& prober,
                                                         const std::function<void(const std::string&)>& step = {});

// `brevelan demo DIR`: the demo media and DIR/Sample.brevelan using them.
int runDemoCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace brevelan
