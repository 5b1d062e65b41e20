#include "WidgetResources.h"

#include <QEvent>
#include <QLabel>
#include <QPixmap>
#include <QString>

#include <utility>

// Q_INIT_RESOURCE declares a function and may therefore not stand in a namespace or class.
void initWidgetResources()
{
    Q_INIT_RESOURCE(resources);
}

namespace {

/// A pixmap with @p ratio pixels for each unit of length.
QPixmap pictureFor(const QString &path, qreal ratio)
{
    QPixmap picture(path);
    if (ratio <= 1.0)
        return picture;
    QString finePath = path;
    finePath.insert(finePath.lastIndexOf(QLatin1Char('.')), QLatin1String("@2x"));
    QPixmap fine(finePath);
    if (fine.isNull())
        return picture;
    const QSize pixels = (QSizeF(picture.size()) * ratio).toSize();
    if (fine.size() != pixels)
        fine = fine.scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    fine.setDevicePixelRatio(ratio);
    return fine;
}

class SharpPicture : public QObject {
public:
    SharpPicture(QLabel *label, QString path)
        : QObject(label)
        , m_label(label)
        , m_path(std::move(path))
    {
        choose();
        label->installEventFilter(this);
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
        m_label->setPixmap(pictureFor(m_path, ratio));
    }

    QLabel *m_label;
    QString m_path;
    qreal m_ratio = 0.0;
};

} // namespace

void showSharpPicture(QLabel *label, const QString &path)
{
    new SharpPicture(label, path);
}
