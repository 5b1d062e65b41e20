#pragma once

#include "DialogFixture.h"

#include <model/bsMatrix.h>

#include <QApplication>
#include <QtTest>

class QDoubleSpinBox;

/// What a data line tells of a tracked body that has made a quarter turn about z.
inline const QByteArray kPlace = "[10 20 30 0 0 90][0.0 1.0 0.0 -1.0 0.0 0.0 0.0 0.0 1.0]";

/// A "6d" line of one body.
QByteArray bodyLine(int id, const QByteArray &quality);
/// Zeros without a sign, which means nothing: it is left open where several transforms are
/// multiplied.
QStringList withPlainZeros(QStringList commands);
/// The numbers of a transform command, which takes stored markers to new ones.
bsMatrix transformOf(const QString &command);

/// A test whose every function, and every data row of it, gets a fixture of its own.
class DialogTest : public QObject {
    Q_OBJECT

protected:
    DialogFixture &fixture() { return *m_fixture; }
    FakeHost &host() { return m_fixture->host; }
    /// Null until it is made.
    BodyAdjustmentDialog *dialog() { return m_fixture->dialog.get(); }
    GLCanvas *canvas() { return m_fixture->canvas(); }
    /// The field of one component (0 to 2) of a value group.
    QDoubleSpinBox *spinBox(const char *group, int component);
    /// Presses an enabled button by program.
    void press(const char *button);
    /// Clicks "online", which also leads offline again.
    void goOnline();
    /// The transform commands that were sent.
    QStringList transforms() { return host().transcript.filter("quorel2 body transform"); }
    /// Runs @p script from the event loop as soon as @p condition holds; not at all if the test
    /// ends before.
    void runWhen(const std::function<bool()> &condition, const std::function<void()> &script);
    /// Runs @p script as soon as a modal window of that class is open and active. A script that
    /// fails half-way leaves it open: it is closed then, or the test would wait for ever.
    template <typename Window>
    void whenModal(const std::function<void(Window *)> &script)
    {
        const auto modal = [] { return qobject_cast<Window *>(QApplication::activeModalWidget()); };
        const auto isActive = [modal] {
            return modal() && modal()->isVisible() && QTest::qWaitForWindowActive(modal());
        };
        runWhen(isActive, [modal, script] {
            Window *window = modal();
            script(window);
            if (window->isVisible())
                window->reject();
        });
    }
    /// For a test with a fixture of another kind: this one would answer the message boxes too.
    void dropFixture() { m_fixture.reset(); }

private slots:
    void init() { m_fixture = std::make_unique<DialogFixture>(); }
    void cleanup() { dropFixture(); }

private:
    std::unique_ptr<DialogFixture> m_fixture;
};
