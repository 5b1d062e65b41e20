#pragma once

#include "DialogFixture.h"

class QDoubleSpinBox;

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
    /// For a test with a fixture of another kind: this one would answer the message boxes too.
    void dropFixture() { m_fixture.reset(); }

private slots:
    void init() { m_fixture = std::make_unique<DialogFixture>(); }
    void cleanup() { dropFixture(); }

private:
    std::unique_ptr<DialogFixture> m_fixture;
};
