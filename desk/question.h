#pragma once

#include <QString>

#include <functional>

class QWidget;

namespace desk {

/// A question before something that cannot be undone.
struct Question {
    QString name;  ///< of the box; its buttons are named after it, with "Go" and "Not"
    QString title;
    QString text;
    QString go;  ///< the button that does it
};

/// Asks, and returns at once. Cancel is the default: Return and Escape do nothing. `go` runs when
/// the user says so, and not after `parent` has gone.
void ask(QWidget* parent, const Question& question, std::function<void()> go);

}  // namespace desk
