#pragma once

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QPushButton>
#include <QRegularExpression>
#include <QStyle>
#include <QStyleOptionButton>
#include <QTabBar>
#include <QTextDocument>
#include <QTranslator>

#include <cmath>

/// Makes every plain text 40% longer, as a German translation may be. Shortcuts and rich texts
/// stay.
class LongTexts : public QTranslator {
public:
    bool isEmpty() const override { return false; }
    QString translate(const char *, const char *sourceText, const char *, int) const override
    {
        const QString text = QString::fromUtf8(sourceText);
        if (text.startsWith(QLatin1Char('<')) || text.startsWith(QLatin1String("Alt+")))
            return text;
        QString tail;
        const int count = static_cast<int>(std::ceil(text.size() * 0.4));
        while (tail.size() < count)
            tail += QStringLiteral("nehmlichkeit");
        return text + tail.left(count);
    }
};

/// Marks the texts of one context.
class MarkingTranslator : public QTranslator {
public:
    explicit MarkingTranslator(QByteArray context)
        : m_context(std::move(context))
    {
    }
    bool isEmpty() const override { return false; }
    QString translate(const char *context, const char *sourceText, const char *, int) const override
    {
        return m_context == context ? QLatin1Char('*') + QString::fromUtf8(sourceText) : QString();
    }

private:
    QByteArray m_context;
};

/// Keeps a translator installed while it lives.
class InstalledTranslator {
public:
    explicit InstalledTranslator(QTranslator *translator)
        : m_translator(translator)
    {
        QCoreApplication::installTranslator(translator);
    }
    ~InstalledTranslator() { QCoreApplication::removeTranslator(m_translator); }

private:
    Q_DISABLE_COPY(InstalledTranslator)
    QTranslator *m_translator;
};

inline QSize neededSize(const QLabel *label)
{
    const QRect room = label->contentsRect();
    const bool rich = label->textFormat() == Qt::RichText ||
                      (label->textFormat() == Qt::AutoText && Qt::mightBeRichText(label->text()));
    if (rich) {
        QTextDocument document;
        document.setDefaultFont(label->font());
        document.setDocumentMargin(0);
        QString html = label->text();
        // The mark of a mnemonic is not shown.
        if (label->buddy())
            html.remove(QRegularExpression(QStringLiteral("&(?!\\w+;)")));
        document.setHtml(html);
        if (label->wordWrap())
            document.setTextWidth(room.width());
        return document.size().toSize();
    }
    const int flags = Qt::TextShowMnemonic | (label->wordWrap() ? Qt::TextWordWrap : 0);
    return label->fontMetrics().boundingRect(room, flags, label->text()).size();
}

/// The visible labels, buttons, check boxes and tabs below @p window that show less than their
/// whole text.
inline QStringList clippedTexts(const QWidget *window)
{
    QStringList clipped;
    const auto check = [&clipped](const QWidget *widget, const QString &text, QSize needed,
                                  QSize room) {
        if (needed.width() > room.width() || needed.height() > room.height())
            clipped += QStringLiteral("%1 \"%2\" needs %3x%4, has %5x%6")
                           .arg(widget->objectName(), text)
                           .arg(needed.width())
                           .arg(needed.height())
                           .arg(room.width())
                           .arg(room.height());
    };
    for (const QLabel *label : window->findChildren<QLabel *>()) {
        if (label->isVisible() && !label->text().isEmpty())
            check(label, label->text(), neededSize(label), label->contentsRect().size());
    }
    for (const QAbstractButton *button : window->findChildren<QAbstractButton *>()) {
        if (!button->isVisible() || button->text().isEmpty())
            continue;
        QSize needed = button->fontMetrics().size(Qt::TextShowMnemonic, button->text());
        if (!button->icon().isNull())
            needed.rwidth() += button->iconSize().width() + 4;
        QStyleOptionButton option;
        option.initFrom(button);
        const auto element = qobject_cast<const QCheckBox *>(button)
                                 ? QStyle::SE_CheckBoxContents
                                 : QStyle::SE_PushButtonContents;
        check(button, button->text(), needed,
              button->style()->subElementRect(element, &option, button).size());
    }
    for (const QTabBar *bar : window->findChildren<QTabBar *>()) {
        for (int i = 0; bar->isVisible() && i < bar->count(); ++i) {
            const QRect tab = bar->tabRect(i);
            check(bar, bar->tabText(i),
                  bar->fontMetrics().size(Qt::TextShowMnemonic, bar->tabText(i)),
                  tab.intersected(bar->rect()).size());
        }
    }
    return clipped;
}
