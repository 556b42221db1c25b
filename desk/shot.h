#pragma once

#include <QString>

#include <functional>

namespace desk {

class CMainWindow;

/// Saves a picture of the window once its recording is over, or halted, and everything
/// is on the screen. `done` gets "" or what went wrong.
void takeShot(CMainWindow& window, const QString& file, std::function<void(const QString&)> done);

}  // namespace desk
