#include <standalone/LogModel.h>
#include <standalone/LogView.h>
#include <tests/support/TestMain.h>

#include <QApplication>
#include <QClipboard>
#include <QMenu>
#include <QScrollBar>
#include <QSplitter>
#include <QtTest>

namespace {

QVector<LogModel::Row> numbered(int first, int last)
{
    QVector<LogModel::Row> rows;
    for (int i = first; i <= last; ++i)
        rows.append({{QString::number(i), QStringLiteral("text %1").arg(i)}, LogModel::Normal});
    return rows;
}

bool lastRowIsInSight(const LogView &view)
{
    const QModelIndex last = view.model()->index(view.model()->rowCount() - 1, 0);
    return view.viewport()->rect().contains(view.visualRect(last));
}

} // namespace

class LogViewTest : public QObject {
    Q_OBJECT

private slots:
    void theNewestRowStaysInSight();
    void theNewestRowStaysInSightWhenTheViewGetsSmaller();
    void theNewestRowStaysInSightBesideASplitter();
    void whoScrolledBackIsLeftThere();
    void whoScrolledBackIsLeftThereWhenTheViewGetsSmaller();
    void selectedRowsAreCopied();
    void theEmptyTextIsDrawnOnlyWhileThereAreNoRows();
    void failuresAreDrawnInAnotherColour();
};

void LogViewTest::theNewestRowStaysInSight()
{
    LogModel model({"Number", "Text"}, 1000);
    LogView view;
    view.setModel(&model);
    view.resize(400, 200);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    QVERIFY(view.isFollowing());
    for (int i = 0; i < 20; ++i) {
        model.append(numbered(100 * i + 1, 100 * i + 100));
        QTRY_VERIFY(view.isFollowing());
        QTRY_VERIFY(lastRowIsInSight(view));
    }
}

void LogViewTest::whoScrolledBackIsLeftThere()
{
    LogModel model({"Number", "Text"}, 1000);
    LogView view;
    view.setModel(&model);
    view.resize(400, 200);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    model.append(numbered(1, 100));
    QTRY_VERIFY(lastRowIsInSight(view));
    view.verticalScrollBar()->setValue(10);
    model.append(numbered(101, 200));
    QCoreApplication::processEvents();
    QCOMPARE(view.verticalScrollBar()->value(), 10);
    QVERIFY(!view.isFollowing());
    view.verticalScrollBar()->setValue(view.verticalScrollBar()->maximum());
    model.append(numbered(201, 300));
    QTRY_VERIFY(lastRowIsInSight(view));
}

void LogViewTest::theNewestRowStaysInSightWhenTheViewGetsSmaller()
{
    LogModel model({"Number", "Text"}, 1000);
    LogView view;
    view.setModel(&model);
    view.resize(400, 600);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    // All of them are in sight, so there is nothing to scroll yet.
    model.append(numbered(1, 10));
    QTRY_VERIFY(lastRowIsInSight(view));
    for (const int height : {150, 400, 120}) {
        view.resize(400, height);
        QTRY_COMPARE(view.height(), height);
        QTRY_VERIFY(lastRowIsInSight(view));
        model.append(numbered(1, 30));
        QTRY_VERIFY(lastRowIsInSight(view));
    }
    view.showMaximized();
    QTRY_VERIFY(view.height() > 400);
    model.append(numbered(1, 3));
    view.showNormal();
    QTRY_VERIFY(view.height() < 400);
    model.append(numbered(1, 3));
    QTRY_VERIFY(lastRowIsInSight(view));
}

void LogViewTest::theNewestRowStaysInSightBesideASplitter()
{
    LogModel model({"Number", "Text"}, 1000);
    QSplitter splitter(Qt::Vertical);
    auto *other = new QWidget;
    auto *view = new LogView;
    view->setModel(&model);
    splitter.addWidget(other);
    splitter.addWidget(view);
    splitter.resize(400, 600);
    splitter.setSizes({100, 500});
    splitter.show();
    QVERIFY(QTest::qWaitForWindowExposed(&splitter));
    model.append(numbered(1, 100));
    QTRY_VERIFY(lastRowIsInSight(*view));
    splitter.setSizes({400, 200});
    QTRY_VERIFY(lastRowIsInSight(*view));
    model.append(numbered(101, 130));
    QTRY_VERIFY(lastRowIsInSight(*view));
}

void LogViewTest::whoScrolledBackIsLeftThereWhenTheViewGetsSmaller()
{
    LogModel model({"Number", "Text"}, 1000);
    LogView view;
    view.setModel(&model);
    view.resize(400, 300);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    model.append(numbered(1, 100));
    QTRY_VERIFY(lastRowIsInSight(view));
    view.verticalScrollBar()->setValue(10);
    view.resize(400, 150);
    QTRY_COMPARE(view.height(), 150);
    model.append(numbered(101, 110));
    QCoreApplication::processEvents();
    QCOMPARE(view.verticalScrollBar()->value(), 10);
}

void LogViewTest::selectedRowsAreCopied()
{
    LogModel model({"Number", "Text"});
    LogView view;
    view.setModel(&model);
    view.resize(400, 200);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    model.append(numbered(1, 5));
    QApplication::clipboard()->setText(QStringLiteral("before"));
    view.setFocus();
    QTest::keyClick(&view, Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("before"));
    QTest::mouseClick(view.viewport(), Qt::LeftButton, Qt::NoModifier,
                      view.visualRect(model.index(3, 1)).center());
    QTest::mouseClick(view.viewport(), Qt::LeftButton, Qt::ControlModifier,
                      view.visualRect(model.index(1, 0)).center());
    QTest::keyClick(&view, Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("2\ttext 2\n4\ttext 4"));

    QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(5, 5),
                            view.viewport()->mapToGlobal(QPoint(5, 5)));
    QApplication::sendEvent(view.viewport(), &event);
    auto *menu = view.findChild<QMenu *>();
    QVERIFY(menu);
    QCOMPARE(menu->actions().size(), 2);
    menu->actions().at(1)->trigger();
    QCOMPARE(view.selectedText().count(QLatin1Char('\n')), 4);
    menu->actions().at(0)->trigger();
    QCOMPARE(QApplication::clipboard()->text(), view.selectedText());
    menu->close();
}

void LogViewTest::theEmptyTextIsDrawnOnlyWhileThereAreNoRows()
{
    LogModel model({"Number", "Text"});
    LogView view;
    view.setModel(&model);
    view.resize(400, 200);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    const QImage blank = view.viewport()->grab().toImage();
    view.setEmptyText(QStringLiteral("Nothing yet"), QStringLiteral("It will come."));
    const QImage empty = view.viewport()->grab().toImage();
    QVERIFY(empty != blank);
    model.append(numbered(1, 1));
    const QImage filled = view.viewport()->grab().toImage();
    QCOMPARE(filled.copy(100, 60, 200, 100), blank.copy(100, 60, 200, 100));
    model.clear();
    QCOMPARE(view.viewport()->grab().toImage(), empty);
}

void LogViewTest::failuresAreDrawnInAnotherColour()
{
    LogModel model({"Number", "Text"});
    LogView view;
    view.setModel(&model);
    view.setAlternatingRowColors(false);
    view.resize(400, 200);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    for (const LogModel::Severity severity :
         {LogModel::Normal, LogModel::Normal, LogModel::Warning, LogModel::Failure})
        model.append({LogModel::Row{{"same", "words"}, severity}});
    const QImage picture = view.viewport()->grab().toImage();
    const auto row = [&](int number) {
        return picture.copy(view.visualRect(model.index(number, 0)));
    };
    QCOMPARE(row(1), row(0));
    QVERIFY(row(2) != row(0));
    QVERIFY(row(3) != row(0));
    QVERIFY(row(3) != row(2));
}

QUOREL2_TEST_MAIN(LogViewTest)
#include "tst_LogView.moc"
