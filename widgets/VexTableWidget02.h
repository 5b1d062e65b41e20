#pragma once

#include <QPointer>
#include <QTableWidget>

class QMenu;

/// A table to read: it opens a context menu on a right press and takes no notice of the others.
class VexTableWidget02 : public QTableWidget {
    Q_OBJECT

public:
    explicit VexTableWidget02(QWidget *parent = nullptr);

    /// @param menu  stays the caller's; without one (null or deleted) nothing opens
    void setContextMenu(QMenu *menu);

protected:
    void mousePressEvent(QMouseEvent *event) override;

private:
    QPointer<QMenu> m_contextMenu;
};
