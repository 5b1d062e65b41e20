#pragma once

#include <QString>
#include <QTreeView>

/// Shows the rows of a LogModel: follows the newest row while it is in sight, copies the selected
/// rows as text, and says what will stand here while there are none.
class LogView : public QTreeView {
    Q_OBJECT

public:
    explicit LogView(QWidget *parent = nullptr);

    void setModel(QAbstractItemModel *model) override;
    /// @param title  what is missing
    /// @param hint   when it will come
    void setEmptyText(const QString &title, const QString &hint);
    /// True while new rows scroll into sight.
    bool isFollowing() const;
    /// The selected rows, their cells parted by tabs.
    QString selectedText() const;

protected:
    void paintEvent(QPaintEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void rowsAboutToBeInserted(const QModelIndex &parent, int first, int last);
    void rowsInserted(const QModelIndex &parent, int first, int last) override;
    void updateGeometries() override;

private:
    void copySelected() const;

    QString m_emptyTitle;
    QString m_emptyHint;
    bool m_wasFollowing = true;
};
