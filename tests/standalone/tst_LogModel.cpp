#include <standalone/LogModel.h>
#include <tests/support/TestMain.h>

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QtTest>

namespace {

QVector<LogModel::Row> numbered(int first, int last)
{
    QVector<LogModel::Row> rows;
    for (int i = first; i <= last; ++i)
        rows.append({{QString::number(i), QStringLiteral("text %1").arg(i)}, LogModel::Normal});
    return rows;
}

QString cell(const LogModel &model, int row, int column)
{
    return model.index(row, column).data().toString();
}

} // namespace

class LogModelTest : public QObject {
    Q_OBJECT

private slots:
    void rowsAreAddedAtTheEnd();
    void tooManyRowsDropTheOldestTenth();
    void aBurstLargerThanTheLogLeavesItsEnd();
    void theDefaultLimitHolds();
    void clearEmptiesTheLog();
    void cellsHaveTheirAlignmentAndSeverity();
    void shortRowsHaveEmptyCells();
    void theModelKeepsTheRulesOfModels();
};

void LogModelTest::rowsAreAddedAtTheEnd()
{
    LogModel model({"Number", "Text"}, 100);
    QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
    model.append(numbered(1, 3));
    model.append({});
    model.append(numbered(4, 4));
    QCOMPARE(model.rowCount(), 4);
    QCOMPARE(model.columnCount(), 2);
    QCOMPARE(inserted.size(), 2);
    QCOMPARE(cell(model, 0, 0), QStringLiteral("1"));
    QCOMPARE(cell(model, 3, 1), QStringLiteral("text 4"));
    QCOMPARE(model.headerData(1, Qt::Horizontal, Qt::DisplayRole).toString(),
             QStringLiteral("Text"));
    QCOMPARE(model.totalRows(), quint64(4));
}

void LogModelTest::tooManyRowsDropTheOldestTenth()
{
    LogModel model({"Number", "Text"}, 100);
    model.append(numbered(1, 100));
    QCOMPARE(model.rowCount(), 100);
    QSignalSpy removed(&model, &QAbstractItemModel::rowsRemoved);
    model.append(numbered(101, 101));
    QCOMPARE(model.rowCount(), 91);
    QCOMPARE(cell(model, 0, 0), QStringLiteral("11"));
    QCOMPARE(cell(model, 90, 0), QStringLiteral("101"));
    // And not again for each row that follows.
    for (int i = 102; i <= 110; ++i)
        model.append(numbered(i, i));
    QCOMPARE(removed.size(), 1);
    QCOMPARE(model.rowCount(), 100);
    model.append(numbered(111, 140));
    QCOMPARE(model.rowCount(), 100);
    QCOMPARE(cell(model, 0, 0), QStringLiteral("41"));
    QCOMPARE(model.totalRows(), quint64(140));
}

void LogModelTest::aBurstLargerThanTheLogLeavesItsEnd()
{
    LogModel model({"Number", "Text"}, 100);
    model.append(numbered(1, 50));
    model.append(numbered(51, 400));
    QCOMPARE(model.rowCount(), 100);
    QCOMPARE(cell(model, 0, 0), QStringLiteral("301"));
    QCOMPARE(cell(model, 99, 0), QStringLiteral("400"));
    QCOMPARE(model.totalRows(), quint64(400));
    LogModel smallest({"Number", "Text"}, 1);
    smallest.append(numbered(1, 1));
    smallest.append(numbered(2, 2));
    QCOMPARE(smallest.rowCount(), 1);
    QCOMPARE(cell(smallest, 0, 0), QStringLiteral("2"));
}

void LogModelTest::theDefaultLimitHolds()
{
    LogModel model({"Number", "Text"});
    for (int i = 0; i < 300; ++i)
        model.append(numbered(100 * i + 1, 100 * i + 100));
    QVERIFY(model.rowCount() <= LogModel::kDefaultLimit);
    QVERIFY(model.rowCount() >= LogModel::kDefaultLimit * 9 / 10);
    QCOMPARE(cell(model, model.rowCount() - 1, 0), QStringLiteral("30000"));
    QCOMPARE(LogModel::kDefaultLimit, 10000);
}

void LogModelTest::clearEmptiesTheLog()
{
    LogModel model({"Number", "Text"}, 100);
    model.append(numbered(1, 30));
    model.clear();
    QCOMPARE(model.rowCount(), 0);
    QCOMPARE(model.totalRows(), quint64(0));
    model.append(numbered(31, 31));
    QCOMPARE(cell(model, 0, 0), QStringLiteral("31"));
}

void LogModelTest::cellsHaveTheirAlignmentAndSeverity()
{
    LogModel model({"Number", "Text"});
    model.setRightAligned({0});
    model.append({{{"1", "a"}, LogModel::Failure}, {{"2", "b"}, LogModel::Normal}});
    QVERIFY(model.index(0, 0).data(Qt::TextAlignmentRole).toInt() & Qt::AlignRight);
    QVERIFY(model.index(0, 1).data(Qt::TextAlignmentRole).toInt() & Qt::AlignLeft);
    QCOMPARE(model.index(0, 1).data(LogModel::SeverityRole).toInt(), int(LogModel::Failure));
    QCOMPARE(model.index(1, 1).data(LogModel::SeverityRole).toInt(), int(LogModel::Normal));
}

void LogModelTest::shortRowsHaveEmptyCells()
{
    LogModel model({"Number", "Text"});
    model.append({LogModel::Row{{"1"}, LogModel::Normal}});
    QCOMPARE(cell(model, 0, 1), QString());
    QVERIFY(!model.index(0, 2).isValid());
    QVERIFY(!model.data(QModelIndex(), Qt::DisplayRole).isValid());
}

void LogModelTest::theModelKeepsTheRulesOfModels()
{
    LogModel model({"Number", "Text"}, 50);
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    model.append(numbered(1, 50));
    model.append(numbered(51, 52));
    model.append(numbered(53, 200));
    model.clear();
    model.append(numbered(1, 1));
    QCOMPARE(model.rowCount(), 1);
}

QUOREL2_TEST_MAIN(LogModelTest)
#include "tst_LogModel.moc"
