#include "desk/shot.h"

#include "desk/mainwindow.h"

#include <memory>
#include <utility>

namespace desk {

void takeShot(CMainWindow& window, const QString& file, std::function<void(const QString&)> done) {
    QObject::connect(&window, &CMainWindow::sigFault, &window, done);
    auto chosen = std::make_shared<bool>(false);
    QObject::connect(&window, &CMainWindow::sigShown, &window,
                     [&window, file, done = std::move(done), chosen] {
                         const Picture& picture = *window.shown();
                         if (!picture.fault.empty())
                             return done(QString::fromStdString(picture.fault));
                         if (!picture.ended && !picture.halted) return;
                         // Chooses again at the end, because an earlier choice depends on the
                         // machine's speed.
                         if (!std::exchange(*chosen, true)) return window.chooseFirst();
                         if (!window.isSettled()) return;
                         window.tidy();
                         const bool saved = window.grab().save(file);
                         done(saved ? QString() : CMainWindow::tr("cannot write %1").arg(file));
                     });
}

}  // namespace desk
