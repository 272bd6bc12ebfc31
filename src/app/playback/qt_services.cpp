#include "app/playback/qt_services.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <QTimer>

#include "picture/composition_builder.h"

namespace brevelan {

void postToMain(std::function<void()> work) {
  QCoreApplication* app = QCoreApplication::instance();
  if (!app) return;
  QMetaObject::invokeMethod(app, std::move(work), Qt::QueuedConnection);
}

void QtScheduler::schedule(double delaySeconds, std::function<void()> work) {
  QTimer::singleShot(static_cast<int>(delaySeconds * 1000 + 0.5), QCoreApplication::instance(), std::move(work));
}

void BackgroundBuilder::build(BuildRequest request, Done done) {
  queue_.async([request = std::move(request), done = std::move(done)] {
    BuildOptions options;
    options.useProxies = request.useProxies;
    options.withStems = true;
    std::shared_ptr<const ProgramBuild> result;
    if (!request.sequence.id.isNil()) result = buildComposition(request.project, request.sequence, options);
    postToMain([done, result] { done(result); });
  });
}

}  // namespace brevelan
