#include "app/project_loading.h"

#include <ostream>

#include "model/project_file.h"

namespace brevelan {

std::optional<Project> loadWithOpenSequence(const std::string& path, std::ostream& err) {
  auto project = ProjectFile::load(path);
  if (!project) {
    err << "brevelan: " << project.error().message << "\n";
    return std::nullopt;
  }
  if (!project->activeSequence()) {
    err << "brevelan: The project has no open sequence.\n";
    return std::nullopt;
  }
  return std::move(project).value();
}

}  // namespace brevelan
