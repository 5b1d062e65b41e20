#pragma once

#include <tests/support/FakeHost.h>

#include <QMessageBox>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVector>
#include <QWidget>

#include <functional>
#include <memory>

class BodyAdjustmentDialog;
class GLCanvas;
class QAction;
class QTimer;

/// A message box as it was shown, and answered.
struct SeenBox {
    QMessageBox::Icon icon;
    QString title;
    QString text;
    QMessageBox::StandardButtons buttons;
    QMessageBox::StandardButton defaultButton;
};

/// The message boxes that came up, oldest first. Knows which of them the test has looked at: asking
/// for anything here looks at all that there are.
class SeenBoxes {
public:
    int size() const { return boxes().size(); }
    bool isEmpty() const { return boxes().isEmpty(); }
    const SeenBox &first() const { return boxes().first(); }
    const SeenBox &last() const { return boxes().last(); }
    const SeenBox &at(int index) const { return boxes().at(index); }
    QVector<SeenBox>::const_iterator begin() const { return boxes().cbegin(); }
    QVector<SeenBox>::const_iterator end() const { return boxes().cend(); }
    void clear();

    /// @param announced  the test has said beforehand that it comes
    void append(const SeenBox &box, bool announced = false);
    /// The texts of the boxes that came unannounced and that nobody has looked at.
    QStringList overlooked() const { return m_overlooked; }

private:
    const QVector<SeenBox> &boxes() const;

    QVector<SeenBox> m_boxes;
    mutable QStringList m_overlooked;
};

/// A dialog on a fake host whose controller holds these bodies:
///
/// list position | body | target type | markers
/// 0 | standard 1 "Wand" | tt_std | 6, with emissions
/// 1 | standard 2, no description | tt_std | 4
/// 2 | standard 3 "Pen" | tt_5dof | 4
/// 3 | standard 4 "Tube" | tt_6dof_cyl | 4
/// 4 | standard 5 "Raw" | tt_std, uncalibrated | 4
/// 5 | vimbar 1 "Probe" | tt_std | 4
/// 6 | vimbar 2 "Spare probe" | tt_std | 5
///
/// A test whose fixture ends with message boxes that the test neither announced by an answer nor
/// looked at fails; so does one whose answers no box wanted.
class DialogFixture : public QObject {
public:
    enum Position { Wand, Plain, Pen, Tube, Raw, Probe, SpareProbe };

    DialogFixture();
    ~DialogFixture() override;

    FakeHost host;
    QWidget parentWindow;
    std::unique_ptr<BodyAdjustmentDialog> dialog;

    void makeDialog();
    /// Opens the dialog as the menu does, runs @p script in the dialog's event loop once it is
    /// active, and closes it if the script left it open.
    int session(const std::function<void()> &script);
    /// The same for a request; the request goes through the host's routing.
    void requestedSession(const QByteArray &request, const std::function<void()> &script);
    /// Opens the dialog and runs @p script in its event loop as soon as it is up, whatever the
    /// window manager makes of it; for scripts that need neither focus nor pointer. Boxes are
    /// answered at once. Without a script the dialog is closed.
    int quickSession(const std::function<void()> &script);
    /// The same for a request; the request is handed to the dialog directly.
    void quickRequestedSession(const QString &sender, const QString &body,
                               const std::function<void()> &script);

    /// Every message box that comes up is answered with the next of these, else with what
    /// answerTo() tells, else with its escape button; what was seen is kept.
    QVector<QMessageBox::StandardButton> answers;
    std::function<QMessageBox::StandardButton(const SeenBox &)> answerTo;
    SeenBoxes boxes;
    bool leaveBoxesOpen = false;

    void choose(int listPosition);
    /// Opens the drop-down list of the bodies.
    void openList();
    GLCanvas *canvas() const;
    /// A child by name; the test fails with a list of names if there is none.
    template <typename T>
    T *child(const char *name) const
    {
        return static_cast<T *>(childNamed(name, T::staticMetaObject));
    }
    bool isEnabled(const char *name) const;
    /// Whether the control itself is enabled, on whatever page it stands.
    bool isItselfEnabled(const char *name) const;
    QStringList enabledControls() const;
    /// Types into one component (0 to 2) of a value group, without confirming.
    void typeValue(const char *group, int component, const QString &text);
    void click(const char *button);
    /// Changes one component of a value group by program, as one gesture that has ended.
    void changeValue(const char *group, int component, double by);
    void selectMarker(int index);
    QAction *menuAction(const QString &text) const;
    /// Right-clicks and takes an entry of the menu that opens, by the keyboard.
    void takeFromMenu(QWidget *where, const QString &entry);
    /// The cells of each row of the marker table, joined by blanks.
    QStringList tableRows() const;

    QStringList transcript() const { return host.transcript; }

private:
    QWidget *childNamed(const char *name, const QMetaObject &type) const;
    void answerOpenBox();
    void waitUntilGone();
    void runScript(const std::function<void()> &script);
    void quickly(const std::function<void()> &script, const std::function<void()> &open);

    QTimer *m_answerTimer;
    void failOnUnusedAnswers();
};
