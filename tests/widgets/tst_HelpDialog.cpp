#include "FormChecks.h"

#include <tests/support/TestMain.h>
#include <widgets/HelpDialog.h>

#include <QGridLayout>
#include <QLabel>
#include <QMetaMethod>
#include <QProcess>
#include <QPushButton>
#include <QScopedPointer>
#include <QSpacerItem>
#include <QVBoxLayout>
#include <QtTest>

namespace {

QSize pictureSize(const QPixmap &pixmap)
{
    return (QSizeF(pixmap.size()) / pixmap.devicePixelRatio()).toSize();
}

} // namespace

class tst_HelpDialog : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void windowHasOnlyTitleAndSystemMenu();
    void hasNoSignalsOrSlotsOfItsOwn();
    void widthIsFixedAndHeightIsFree();
    void textsStandInTheirPlaces_data();
    void textsStandInTheirPlaces();
    void rowsRunFromTopToBottom();
    void picturesAreCentredAndOfOneSize_data();
    void picturesAreCentredAndOfOneSize();
    void captionsAreCentredAndWide();
    void spacersAreAsStated();
    void textsAreTranslatedInTheDialogsContext();
    void everyWayOutCloses_data();
    void everyWayOutCloses();
    void picturePixelsFollowTheDisplay();
    void picturesAreFineOnAFineDisplay_data();
    void picturesAreFineOnAFineDisplay();
    void longTextsAreNotClipped();

private:
    QLabel *label(const QString &name) const { return m_dialog->findChild<QLabel *>(name); }
    QGridLayout *grid() const
    {
        return m_dialog->findChild<QGridLayout *>(QStringLiteral("gridLayout"));
    }
    void show()
    {
        m_dialog->show();
        m_dialog->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(m_dialog.data()));
    }

    QScopedPointer<HelpDialog> m_dialog;
};

void tst_HelpDialog::init()
{
    m_dialog.reset(new HelpDialog(nullptr));
}

void tst_HelpDialog::cleanup()
{
    m_dialog.reset();
}

void tst_HelpDialog::windowHasOnlyTitleAndSystemMenu()
{
    QCOMPARE(m_dialog->windowFlags(), Qt::Dialog | Qt::WindowTitleHint | Qt::WindowSystemMenuHint);
    QCOMPARE(m_dialog->windowTitle(), QStringLiteral("Body Adjustment Help"));
    QCOMPARE(m_dialog->objectName(), QStringLiteral("HelpDialog"));
}

void tst_HelpDialog::hasNoSignalsOrSlotsOfItsOwn()
{
    const QMetaObject &meta = HelpDialog::staticMetaObject;
    QCOMPARE(QByteArray(meta.className()), QByteArray("HelpDialog"));
    QCOMPARE(meta.methodCount(), meta.methodOffset());
}

void tst_HelpDialog::widthIsFixedAndHeightIsFree()
{
    QCOMPARE(m_dialog->size(), QSize(768, 350));
    QCOMPARE(m_dialog->minimumSize(), QSize(768, 350));
    QCOMPARE(m_dialog->maximumSize(), QSize(768, 10000));
    show();
    m_dialog->resize(500, 600);
    QTRY_COMPARE(m_dialog->size(), QSize(768, 600));
    m_dialog->resize(1200, 200);
    QTRY_COMPARE(m_dialog->size(), QSize(768, 350));
}

void tst_HelpDialog::textsStandInTheirPlaces_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("column");
    const auto row = [](const char *name, const char *text, int gridRow, int gridColumn) {
        QTest::newRow(name) << QString::fromLatin1(text) << gridRow << gridColumn;
    };
    row("label", "Control of the graphic view", -1, -1);
    row("label_9", "panning:", 0, 0);
    row("label_10", "rotating:", 0, 1);
    row("label_11", "zoom in / out:", 0, 2);
    row("label_5", "", 1, 0);
    row("label_3", "", 1, 1);
    row("label_7", "", 1, 2);
    row("label_4", "Ctrl + left mouse button", 2, 0);
    row("label_2", "Ctrl + right mouse button", 2, 1);
    row("label_6", "Ctrl + mouse wheel<br>\nShift + left mouse button", 2, 2);
}

void tst_HelpDialog::textsStandInTheirPlaces()
{
    QFETCH(QString, text);
    QFETCH(int, row);
    QFETCH(int, column);
    const QLabel *found = label(QString::fromLatin1(QTest::currentDataTag()));
    QVERIFY(found);
    QCOMPARE(found->text(), text);
    if (row >= 0)
        QCOMPARE(grid()->itemAtPosition(row, column)->widget(), found);
}

void tst_HelpDialog::rowsRunFromTopToBottom()
{
    auto *column = m_dialog->findChild<QVBoxLayout *>(QStringLiteral("verticalLayout"));
    QVERIFY(column);
    QCOMPARE(m_dialog->layout(), column);
    QCOMPARE(column->count(), 5);
    QCOMPARE(column->itemAt(0)->widget(), label(QStringLiteral("label")));
    QCOMPARE(column->itemAt(1)->layout(), grid());
    QVERIFY(column->itemAt(2)->spacerItem());
    QCOMPARE(column->itemAt(3)->widget()->objectName(), QStringLiteral("line"));
    QCOMPARE(qobject_cast<QFrame *>(column->itemAt(3)->widget())->frameShape(), QFrame::HLine);
    QLayout *bottom = column->itemAt(4)->layout();
    QCOMPARE(bottom->objectName(), QStringLiteral("horizontalLayout"));
    QVERIFY(bottom->itemAt(0)->spacerItem());
    QCOMPARE(bottom->itemAt(1)->widget()->objectName(), QStringLiteral("exit_button"));
    auto *exitButton = qobject_cast<QPushButton *>(bottom->itemAt(1)->widget());
    QCOMPARE(exitButton->text(), QStringLiteral("E&xit"));
    QCOMPARE(exitButton->shortcut(), QKeySequence(QStringLiteral("Alt+X")));
}

void tst_HelpDialog::picturesAreCentredAndOfOneSize_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("column");
    QTest::newRow("label_5") << QStringLiteral(":/panning.png") << 0;
    QTest::newRow("label_3") << QStringLiteral(":/rotation.png") << 1;
    QTest::newRow("label_7") << QStringLiteral(":/zooming.png") << 2;
}

void tst_HelpDialog::picturesAreCentredAndOfOneSize()
{
    QFETCH(QString, path);
    QFETCH(int, column);
    const QLabel *picture = label(QString::fromLatin1(QTest::currentDataTag()));
    QCOMPARE(picture->minimumSize(), QSize(180, 135));
    QCOMPARE(picture->maximumSize(), QSize(180, 135));
    QVERIFY(!picture->accessibleName().isEmpty());
    const QPixmap pixmap = picture->pixmap(Qt::ReturnByValue);
    QCOMPARE(pictureSize(pixmap), QSize(180, 135));
    if (qFuzzyCompare(pixmap.devicePixelRatio(), 1.0))
        QCOMPARE(pixmap.toImage(), QPixmap(path).toImage());
    QLayoutItem *item = grid()->itemAtPosition(1, column);
    QCOMPARE(item->widget(), picture);
    QCOMPARE(item->alignment(), Qt::Alignment(Qt::AlignCenter));
}

void tst_HelpDialog::captionsAreCentredAndWide()
{
    for (const char *name : {"label_4", "label_2", "label_6"}) {
        const QLabel *caption = label(QString::fromLatin1(name));
        QCOMPARE(caption->alignment(), Qt::Alignment(Qt::AlignCenter));
        QCOMPARE(caption->minimumWidth(), 230);
    }
    QCOMPARE(label(QStringLiteral("label_6"))->textFormat(), Qt::RichText);
}

void tst_HelpDialog::spacersAreAsStated()
{
    auto *column = m_dialog->findChild<QVBoxLayout *>(QStringLiteral("verticalLayout"));
    const QSpacerItem *vertical = column->itemAt(2)->spacerItem();
    QCOMPARE(vertical->sizeHint(), QSize(20, 40));
    QCOMPARE(vertical->sizePolicy(), QSizePolicy(QSizePolicy::Minimum, QSizePolicy::Expanding));
    const QSpacerItem *horizontal = column->itemAt(4)->layout()->itemAt(0)->spacerItem();
    QCOMPARE(horizontal->sizeHint(), QSize(40, 20));
    QCOMPARE(horizontal->sizePolicy(), QSizePolicy(QSizePolicy::Expanding, QSizePolicy::Minimum));
}

void tst_HelpDialog::textsAreTranslatedInTheDialogsContext()
{
    MarkingTranslator translator("HelpDialog");
    const InstalledTranslator installed(&translator);
    m_dialog.reset(new HelpDialog(nullptr));
    QCOMPARE(m_dialog->windowTitle(), QStringLiteral("*Body Adjustment Help"));
    for (const char *name :
         {"label", "label_9", "label_10", "label_11", "label_4", "label_2", "label_6"})
        QVERIFY2(label(QString::fromLatin1(name))->text().startsWith(QLatin1Char('*')), name);
    QCOMPARE(m_dialog->findChild<QPushButton *>(QStringLiteral("exit_button"))->text(),
             QStringLiteral("*E&xit"));
}

void tst_HelpDialog::everyWayOutCloses_data()
{
    QTest::addColumn<QString>("way");
    for (const char *way : {"Alt+X", "Return", "Escape", "click"})
        QTest::newRow(way) << QString::fromLatin1(way);
}

void tst_HelpDialog::everyWayOutCloses()
{
    QFETCH(QString, way);
    show();
    QSignalSpy finished(m_dialog.data(), &QDialog::finished);
    QWindow *window = m_dialog->windowHandle();
    if (way == QLatin1String("Alt+X"))
        QTest::keyClick(window, Qt::Key_X, Qt::AltModifier);
    else if (way == QLatin1String("Return"))
        QTest::keyClick(window, Qt::Key_Return);
    else if (way == QLatin1String("Escape"))
        QTest::keyClick(window, Qt::Key_Escape);
    else
        QTest::mouseClick(m_dialog->findChild<QPushButton *>(QStringLiteral("exit_button")),
                          Qt::LeftButton);
    QTRY_VERIFY(!m_dialog->isVisible());
    QCOMPARE(finished.count(), 1);
}

void tst_HelpDialog::picturePixelsFollowTheDisplay()
{
    show();
    for (const char *name : {"label_5", "label_3", "label_7"}) {
        const QLabel *picture = label(QString::fromLatin1(name));
        const qreal ratio = picture->devicePixelRatioF();
        QTRY_COMPARE(picture->pixmap(Qt::ReturnByValue).devicePixelRatio(), ratio);
        QCOMPARE(picture->pixmap(Qt::ReturnByValue).size(), (QSizeF(180, 135) * ratio).toSize());
    }
    const QByteArray expected = qgetenv("QUOREL2_EXPECTED_RATIO");
    if (!expected.isEmpty())
        QCOMPARE(m_dialog->devicePixelRatioF(), expected.toDouble());
}

void tst_HelpDialog::picturesAreFineOnAFineDisplay_data()
{
    QTest::addColumn<QString>("scale");
    QTest::newRow("150%") << QStringLiteral("1.5");
    QTest::newRow("200%") << QStringLiteral("2");
}

void tst_HelpDialog::picturesAreFineOnAFineDisplay()
{
    QFETCH(QString, scale);
    // The scale of a display is read once, when a program starts.
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_SCALE_FACTOR"), scale);
    environment.insert(QStringLiteral("QUOREL2_EXPECTED_RATIO"), scale);
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QCoreApplication::applicationFilePath(),
                  {QStringLiteral("picturePixelsFollowTheDisplay"),
                   QStringLiteral("picturesAreCentredAndOfOneSize")});
    QVERIFY(process.waitForFinished(60000));
    QVERIFY2(process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0,
             process.readAll().constData());
}

void tst_HelpDialog::longTextsAreNotClipped()
{
    LongTexts translator;
    const InstalledTranslator installed(&translator);
    m_dialog.reset(new HelpDialog(nullptr));
    show();
    QCOMPARE(m_dialog->width(), 768);
    QCOMPARE(clippedTexts(m_dialog.data()), QStringList());
}

QUOREL2_TEST_MAIN(tst_HelpDialog)
#include "tst_HelpDialog.moc"
