#include "VexTableWidget02.h"

#include <QMenu>
#include <QMouseEvent>

VexTableWidget02::VexTableWidget02(QWidget *parent)
    : QTableWidget(parent)
{
    // No other menu follows the one that the press opens.
    setContextMenuPolicy(Qt::PreventContextMenu);
}

void VexTableWidget02::setContextMenu(QMenu *menu)
{
    m_contextMenu = menu;
}

void VexTableWidget02::mousePressEvent(QMouseEvent *event)
{
    // The base class would select; the event stays accepted, so that the parent opens no menu
    // either.
    if (event->button() == Qt::RightButton && m_contextMenu)
        m_contextMenu->exec(event->globalPos());
}
