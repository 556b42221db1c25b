#include "desk/shot.h"

#include "desk/mainwindow.h"

#include <memory>
#include <utility>

namespace desk {

namespace {

/// Pictures after the end until the choices made for the user are answered.
constexpr int SETTLED_AFTER = 4;

}  // namespace

void takeShot(CMainWindow& window, const QString& file, std::function<void(const QString&)> done) {
    QObject::connect(&window, &CMainWindow::sigFault, &window, done);
    auto settled = std::make_shared<int>(0);
    QObject::connect(&window, &CMainWindow::sigShown, &window,
                     [&window, file, done = std::move(done), settled] {
                         const Picture& picture = *window.shown();
                         if (!picture.fault.empty())
                             return done(QString::fromStdString(picture.fault));
                         if (!picture.ended && !picture.halted) return;
                         // What was chosen on the way depends on the machine's speed.
                         if (++*settled == 1) window.chooseFirst();
                         if (*settled != SETTLED_AFTER) return;
                         const bool saved = window.grab().save(file);
                         done(saved ? QString() : CMainWindow::tr("cannot write %1").arg(file));
                     });
}

}  // namespace desk
