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

/// A message box as it was shown, and answered.
struct SeenBox {
    QMessageBox::Icon icon;
    QString title;
    QString text;
    QMessageBox::StandardButtons buttons;
    QMessageBox::StandardButton defaultButton;
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

    /// Every message box that comes up is answered with the next of these, or else with its escape
    /// button; what was seen is kept.
    QVector<QMessageBox::StandardButton> answers;
    QVector<SeenBox> boxes;
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
    QStringList enabledControls() const;
    /// Types into one component (0 to 2) of a value group, without confirming.
    void typeValue(const char *group, int component, const QString &text);
    void click(const char *button);
    QAction *menuAction(const QString &text) const;

    QStringList transcript() const { return host.transcript; }

private:
    QWidget *childNamed(const char *name, const QMetaObject &type) const;
    void answerOpenBox();
    void waitUntilGone();
    void runScript(const std::function<void()> &script);
};
