#pragma once

#include <protocol/BodyCatalogue.h>

#include <QObject>
#include <QVector>

#include <optional>

class QComboBox;

/// The list from which a body is chosen: each item keeps its entry as text. Positions count from 0.
class BodyList : public QObject {
    Q_OBJECT

public:
    /// @param box  not owned; must live as long as the list is used
    BodyList(QComboBox *box, QObject *parent);

    /// Replaces the items. No body is chosen then, and pointedAt() is not emitted.
    void fill(const QVector<BodyCatalogue::Item> &items);
    /// @return nothing if there is no such position or its entry cannot be read
    std::optional<BodyListEntry> entryAt(int position) const;
    /// The first body whose entry begins with that type and number. @return -1 if there is none
    int positionOf(const QString &typeAndNumber) const;
    int currentPosition() const;

    /// Chooses as the user does.
    void choose(int position);
    /// Shows which body is chosen. Does not emit pointedAt().
    void showChosen(int position);
    void hidePopup();

    /// The box is on the call stack that destroys its window: it is kept until that has unwound.
    void releaseBox();

signals:
    /// A body was chosen, or pointed at in the open list; opening it points at the chosen one.
    void pointedAt(int position);

private:
    void onIndexChanged(int position);
    bool isOnlyFocused(int position) const;

    QComboBox *m_box;
};
