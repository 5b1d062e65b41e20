#include "LogView.h"

#include "LogModel.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>
#include <QScrollBar>
#include <QStyledItemDelegate>

#include <algorithm>

namespace {

/// Colours a row by its severity, readable on the light and on the dark palettes.
class SeverityDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        return QStyledItemDelegate::sizeHint(option, index) + QSize(0, 4);
    }

protected:
    void initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const override
    {
        QStyledItemDelegate::initStyleOption(option, index);
        const bool dark = option->palette.color(QPalette::Base).lightness() < 128;
        QColor colour;
        switch (index.data(LogModel::SeverityRole).toInt()) {
        case LogModel::Warning:
            colour = dark ? QColor(0xf0, 0xb4, 0x4c) : QColor(0x8a, 0x57, 0x00);
            break;
        case LogModel::Failure:
            colour = dark ? QColor(0xff, 0x8a, 0x80) : QColor(0xb0, 0x1c, 0x1c);
            break;
        default:
            return;
        }
        option->palette.setColor(QPalette::Text, colour);
    }
};

} // namespace

LogView::LogView(QWidget *parent)
    : QTreeView(parent)
{
    setRootIsDecorated(false);
    setItemsExpandable(false);
    setUniformRowHeights(true);
    setAllColumnsShowFocus(true);
    setAlternatingRowColors(true);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setTextElideMode(Qt::ElideRight);
    setFrameShape(QFrame::NoFrame);
    setItemDelegate(new SeverityDelegate(this));
    header()->setSectionsMovable(false);
    header()->setHighlightSections(false);
}

void LogView::setModel(QAbstractItemModel *newModel)
{
    if (model())
        disconnect(model(), &QAbstractItemModel::rowsAboutToBeInserted, this,
                   &LogView::rowsAboutToBeInserted);
    QTreeView::setModel(newModel);
    if (newModel)
        connect(newModel, &QAbstractItemModel::rowsAboutToBeInserted, this,
                &LogView::rowsAboutToBeInserted);
}

void LogView::setEmptyText(const QString &title, const QString &hint)
{
    m_emptyTitle = title;
    m_emptyHint = hint;
    viewport()->update();
}

bool LogView::isFollowing() const
{
    return verticalScrollBar()->value() >= verticalScrollBar()->maximum();
}

QString LogView::selectedText() const
{
    QModelIndexList rows = selectionModel() ? selectionModel()->selectedRows() : QModelIndexList();
    std::sort(rows.begin(), rows.end());
    QStringList lines;
    for (const QModelIndex &row : qAsConst(rows)) {
        QStringList cells;
        for (int column = 0; column < model()->columnCount(); ++column)
            cells.append(row.sibling(row.row(), column).data().toString());
        lines.append(cells.join(QLatin1Char('\t')));
    }
    return lines.join(QLatin1Char('\n'));
}

void LogView::copySelected() const
{
    const QString text = selectedText();
    if (!text.isEmpty())
        QApplication::clipboard()->setText(text);
}

void LogView::rowsAboutToBeInserted(const QModelIndex &, int, int)
{
    m_wasFollowing = isFollowing();
}

void LogView::rowsInserted(const QModelIndex &parent, int first, int last)
{
    QTreeView::rowsInserted(parent, first, last);
    if (m_wasFollowing)
        scrollToBottom();
}

void LogView::updateGeometries()
{
    // A smaller view has a longer way to scroll: the same value is then not the end any more.
    const bool wasFollowing = isFollowing();
    QTreeView::updateGeometries();
    if (wasFollowing)
        verticalScrollBar()->setValue(verticalScrollBar()->maximum());
}

void LogView::keyPressEvent(QKeyEvent *event)
{
    if (event->matches(QKeySequence::Copy)) {
        copySelected();
        event->accept();
        return;
    }
    QTreeView::keyPressEvent(event);
}

void LogView::contextMenuEvent(QContextMenuEvent *event)
{
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    QAction *copy = menu->addAction(tr("&Copy"), this, &LogView::copySelected);
    copy->setEnabled(!selectedText().isEmpty());
    menu->addAction(tr("Select &all"), this, &LogView::selectAll);
    menu->popup(event->globalPos());
}

void LogView::paintEvent(QPaintEvent *event)
{
    QTreeView::paintEvent(event);
    if (m_emptyTitle.isEmpty() || (model() && model()->rowCount() > 0))
        return;
    QPainter painter(viewport());
    const QRect area = viewport()->rect().adjusted(24, 12, -24, -12);
    QFont titleFont = font();
    titleFont.setPointSizeF(titleFont.pointSizeF() * 1.15);
    const int titleHeight = QFontMetrics(titleFont).height();
    const QRect hintBounds =
        painter.boundingRect(area, Qt::AlignHCenter | Qt::TextWordWrap, m_emptyHint);
    const int top = area.top() + qMax(0, area.height() - titleHeight - 6 - hintBounds.height()) / 2;
    QColor colour = palette().color(QPalette::Text);
    colour.setAlphaF(0.62);
    painter.setPen(colour);
    painter.setFont(titleFont);
    painter.drawText(QRect(area.left(), top, area.width(), titleHeight), Qt::AlignHCenter,
                     m_emptyTitle);
    painter.setFont(font());
    painter.drawText(QRect(area.left(), top + titleHeight + 6, area.width(), area.height()),
                     Qt::AlignHCenter | Qt::TextWordWrap, m_emptyHint);
}
