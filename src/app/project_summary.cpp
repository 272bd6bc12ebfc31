#include "app/project_summary.h"

#include <filesystem>
#include <sstream>

#include "model/file_error.h"
#include "model/project_file.h"

namespace brevelan {

std::string summarize(const Project& project) {
  std::ostringstream text;
  text << "Project " << curlyQuoted(project.name) << "\n";
  for (const BrevSequence& seq : project.sequences) {
    std::size_t clips = 0;
    for (const auto* list : {&seq.video, &seq.audio})
      for (const Track& track : *list) clips += track.clips.size();
    text << (seq.id == project.activeSequenceID ? "* " : "  ") << "Sequence " << curlyQuoted(seq.name) << ": "
         << seq.width << " × " << seq.height << ", " << seq.rate.label() << ", "
         << seq.rate.timecode(seq.duration()) << " long, " << seq.video.size() << " video and " << seq.audio.size()
         << " audio tracks, " << clips << " clips, " << seq.markers.size() << " markers, " << seq.captions.size()
         << " captions\n";
  }
  const std::size_t missing = ProjectFile::missingMedia(project).size();
  text << project.media.size() << " media items";
  if (missing > 0) text << ", " << missing << " missing";
  text << "\n";
  return text.str();
}

}  // namespace brevelan
