#pragma once

#include "desk/rowsview.h"

#include <QWidget>

#include <vector>

namespace desk {

struct EventRow;

/// What happened on the day, newest first, in the language of the screen.
class CEventsPage final : public QWidget {
    Q_OBJECT

public:
    explicit CEventsPage(QWidget* parent = nullptr);

    void show(const std::vector<EventRow>& events);

private:
    CRowsView* m_pTable;
};

/// One event in words.
QString eventText(const EventRow& event);

}  // namespace desk
