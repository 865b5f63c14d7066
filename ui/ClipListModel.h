#pragma once

// The filmstrip's rows: one per clip of the project in playing order, then the add tile. It
// owns no data: every answer is read from the project, and every change of the project is
// passed on to the view (a new row count as a reset, anything else as changed rows, which the
// view repaints only where visible). Interface thread only; lives no longer than the project.

#include "model/Clip.h"

#include <QAbstractListModel>

namespace vimbo {
class Project;
}

namespace vimbo::ui {

class ClipListModel : public QAbstractListModel {
    Q_OBJECT
public:
    enum Role { ClipIdRole = Qt::UserRole + 1 };

    explicit ClipListModel(Project& project, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;

    bool isAddTile(int row) const;
    // The clip of a row; null for the add tile and rows out of range.
    const Clip* clipAt(int row) const;
    int rowOf(const QUuid& id) const;

    // The tile's tooltip: why an unusable file is dimmed, else the file name.
    QString help(const Clip& clip) const;

private:
    void clipsChanged();
    void everyRowChanged();
    QString spokenName(const Clip& clip) const;

    Project& project_;
    int rows_ = 0;
};

} // namespace vimbo::ui
