#pragma once

#include <QLabel>

/// A label of one line, in plain text, that may become narrower than its text. The text is then
/// shortened, and the tool tip tells the whole of it.
class ElidedLabel : public QLabel {
    Q_OBJECT

public:
    /// @param mode              where the text is shortened
    /// @param fewestCharacters  the label is never narrower than about so many, whatever its text
    ElidedLabel(Qt::TextElideMode mode, int fewestCharacters, QWidget *parent = nullptr);

    /// The text as it is seen.
    QString shownText() const;

    QSize minimumSizeHint() const override;

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    QRect textArea() const;

    Qt::TextElideMode m_mode;
    int m_fewestCharacters;
};
