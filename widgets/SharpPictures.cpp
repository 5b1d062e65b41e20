#include "SharpPictures.h"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QEvent>
#include <QLabel>
#include <QPixmap>
#include <QString>

namespace {

/// The picture in just that many pixels, drawn from its finer variant if it has not got them.
QPixmap pictureInPixels(const QString &path, const QSize &pixels)
{
    QPixmap picture(path);
    if (pixels.width() > picture.width() || pixels.height() > picture.height()) {
        QString finePath = path;
        finePath.insert(finePath.lastIndexOf(QLatin1Char('.')), QLatin1String("@2x"));
        const QPixmap fine(finePath);
        if (!fine.isNull())
            picture = fine;
    }
    // The name of the finer variant gives it a ratio of its own.
    picture.setDevicePixelRatio(1.0);
    if (picture.size() != pixels)
        picture = picture.scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    return picture;
}

class SharpPicture : public QObject {
public:
    explicit SharpPicture(QLabel *label)
        : QObject(label)
        , m_label(label)
    {
        label->installEventFilter(this);
    }

    void setPicture(const QString &path, const QSize &size)
    {
        if (path == m_path && size == m_size)
            return;
        m_path = path;
        m_size = size;
        m_ratio = 0.0;
        choose();
    }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        // The ratio of a screen can change without any event of its own.
        if (event->type() == QEvent::Paint)
            choose();
        return QObject::eventFilter(watched, event);
    }

private:
    void choose()
    {
        const qreal ratio = m_label->devicePixelRatioF();
        if (qFuzzyCompare(ratio, m_ratio))
            return;
        m_ratio = ratio;
        if (m_path.isEmpty()) {
            m_label->setPixmap(QPixmap());
            return;
        }
        const QSize size = m_size.isEmpty() ? QPixmap(m_path).size() : m_size;
        QPixmap picture = pictureInPixels(m_path, (QSizeF(size) * ratio).toSize());
        picture.setDevicePixelRatio(ratio);
        m_label->setPixmap(picture);
    }

    QLabel *m_label;
    QString m_path;
    QSize m_size;
    qreal m_ratio = 0.0;
};

/// The toolkit draws icons with fine pixels only if the whole application has asked for them, which
/// is the host's business: here it is asked for while the one button is drawn.
class SharpIconPaint : public QObject {
public:
    explicit SharpIconPaint(QAbstractButton *button)
        : QObject(button)
    {
        button->installEventFilter(this);
    }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() != QEvent::Paint ||
            QCoreApplication::testAttribute(Qt::AA_UseHighDpiPixmaps))
            return QObject::eventFilter(watched, event);
        QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps, true);
        watched->event(event);
        QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps, false);
        return true;
    }
};

} // namespace

void showSharpPicture(QLabel *label, const QString &path, const QSize &size)
{
    const QObjectList &children = label->children();
    for (QObject *child : children) {
        if (auto *shown = dynamic_cast<SharpPicture *>(child)) {
            shown->setPicture(path, size);
            return;
        }
    }
    (new SharpPicture(label))->setPicture(path, size);
}

void drawIconSharply(QAbstractButton *button)
{
    new SharpIconPaint(button);
}
