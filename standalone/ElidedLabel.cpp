#include "ElidedLabel.h"

#include <QHelpEvent>
#include <QPainter>
#include <QToolTip>

ElidedLabel::ElidedLabel(Qt::TextElideMode mode, int fewestCharacters, QWidget *parent)
    : QLabel(parent)
    , m_mode(mode)
    , m_fewestCharacters(fewestCharacters)
{
    setTextFormat(Qt::PlainText);
}

QRect ElidedLabel::textArea() const
{
    return contentsRect().adjusted(margin(), 0, -margin(), 0);
}

QString ElidedLabel::shownText() const
{
    return fontMetrics().elidedText(text(), m_mode, textArea().width());
}

QSize ElidedLabel::minimumSizeHint() const
{
    // Not that of the text: a window would have to grow with a text that changes.
    const QMargins margins = contentsMargins();
    return {margins.left() + margins.right() + 2 * margin() +
                m_fewestCharacters * fontMetrics().averageCharWidth(),
            QLabel::minimumSizeHint().height()};
}

bool ElidedLabel::event(QEvent *event)
{
    if (event->type() != QEvent::ToolTip || shownText() == text())
        return QLabel::event(event);
    QStringList lines{text()};
    if (!toolTip().isEmpty())
        lines.append(toolTip());
    QToolTip::showText(static_cast<QHelpEvent *>(event)->globalPos(), lines.join(QLatin1Char('\n')),
                       this);
    return true;
}

void ElidedLabel::paintEvent(QPaintEvent *event)
{
    const QString shown = shownText();
    if (shown == text()) {
        QLabel::paintEvent(event);
        return;
    }
    QPainter painter(this);
    drawFrame(&painter);
    painter.setPen(palette().color(foregroundRole()));
    painter.drawText(textArea(), static_cast<int>(alignment()) | Qt::TextSingleLine, shown);
}
