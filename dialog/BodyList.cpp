#include "BodyList.h"

#include <widgets/UnfocusedWheelFilter.h>

#include <QAbstractItemView>
#include <QComboBox>
#include <QIcon>
#include <QItemSelectionModel>
#include <QSignalBlocker>
#include <QTimer>

BodyList::BodyList(QComboBox *box, QObject *parent)
    : QObject(parent)
    , m_box(box)
{
    // The list would change body under a pointer that only scrolls past it.
    UnfocusedWheelFilter::install(box);
    connect(box, QOverload<int>::of(&QComboBox::highlighted), box,
            QOverload<int>::of(&QComboBox::currentIndexChanged));
    connect(box, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            &BodyList::onIndexChanged);
}

void BodyList::fill(const QVector<BodyCatalogue::Item> &items)
{
    // Filling selects the first item and would load it.
    const QSignalBlocker blocker(m_box);
    m_box->clear();
    for (const BodyCatalogue::Item &item : items)
        m_box->addItem(QIcon(), item.displayText, item.entry.toText());
    m_box->setCurrentIndex(-1);
}

std::optional<BodyListEntry> BodyList::entryAt(int position) const
{
    BodyListEntry entry;
    if (!BodyListEntry::fromText(m_box->itemData(position).toString(), &entry))
        return std::nullopt;
    return entry;
}

int BodyList::positionOf(const QString &typeAndNumber) const
{
    const QString prefix = typeAndNumber + QLatin1Char('|');
    for (int i = 0; i < m_box->count(); ++i) {
        if (m_box->itemData(i).toString().startsWith(prefix))
            return i;
    }
    return -1;
}

int BodyList::currentPosition() const
{
    return m_box->currentIndex();
}

void BodyList::choose(int position)
{
    m_box->setCurrentIndex(position);
}

void BodyList::showChosen(int position)
{
    const QSignalBlocker blocker(m_box);
    m_box->setCurrentIndex(position);
}

void BodyList::hidePopup()
{
    m_box->hidePopup();
}

void BodyList::releaseBox()
{
    m_box->disconnect();
    m_box->setParent(nullptr);
    m_box->deleteLater();
}

void BodyList::onIndexChanged(int position)
{
    if (!isOnlyFocused(position)) {
        emit pointedAt(position);
        return;
    }
    // Left the current one, the row would not be highlighted when pointed at. A row that is being
    // pressed is selected next.
    QTimer::singleShot(0, this, [this, position] {
        if (isOnlyFocused(position))
            m_box->view()->selectionModel()->clearCurrentIndex();
    });
}

/// An open list with nothing chosen makes its first row the current one when it gets the focus;
/// the user did not highlight it.
bool BodyList::isOnlyFocused(int position) const
{
    const QAbstractItemView *view = m_box->view();
    const QModelIndex current = view->currentIndex();
    return current.isValid() && current.row() == position && m_box->currentIndex() != position &&
           !view->selectionModel()->isSelected(current);
}
