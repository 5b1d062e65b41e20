#include <dialog/BodyList.h>

#include <tests/support/TestMain.h>

#include <QtTest>

#include <QComboBox>
#include <QPointer>

namespace {

BodyCatalogue::Item item(const QString &type, int number)
{
    BodyCatalogue::Item made;
    made.displayText = QStringLiteral("%1 %2").arg(type).arg(number);
    made.entry.type = type;
    made.entry.number = number;
    made.entry.calibrated = true;
    made.entry.targetType = QStringLiteral("tt_std");
    return made;
}

struct Setup {
    QWidget window;
    QComboBox *box = new QComboBox(&window);
    BodyList list{box, &window};
    QVector<int> pointedAt;

    Setup()
    {
        QObject::connect(&list, &BodyList::pointedAt, &window,
                         [this](int position) { pointedAt.append(position); });
        list.fill({item(QStringLiteral("standard"), 1), item(QStringLiteral("standard"), 12),
                   item(QStringLiteral("vimbar"), 1)});
    }
};

} // namespace

class TestBodyList : public QObject {
    Q_OBJECT

private slots:
    void fillingChoosesNoBodyAndPointsAtNone()
    {
        Setup s;
        QCOMPARE(s.box->count(), 3);
        QCOMPARE(s.box->itemText(1), QStringLiteral("standard 12"));
        QCOMPARE(s.list.currentPosition(), -1);
        s.list.choose(2);
        s.pointedAt.clear();
        s.list.fill({item(QStringLiteral("standard"), 3)});
        QCOMPARE(s.box->count(), 1);
        QCOMPARE(s.list.currentPosition(), -1);
        QCOMPARE(s.pointedAt, QVector<int>());
    }

    void choosingPointsAtTheBodyAndShowingDoesNot()
    {
        Setup s;
        s.list.choose(1);
        QCOMPARE(s.list.currentPosition(), 1);
        QCOMPARE(s.pointedAt, QVector<int>({1}));
        s.list.showChosen(0);
        QCOMPARE(s.list.currentPosition(), 0);
        QCOMPARE(s.pointedAt, QVector<int>({1}));
        emit s.box->highlighted(2);
        QCOMPARE(s.list.currentPosition(), 0);
        QCOMPARE(s.pointedAt, QVector<int>({1, 2}));
    }

    void entriesAreReadBackFromTheItems()
    {
        Setup s;
        const std::optional<BodyListEntry> entry = s.list.entryAt(1);
        QVERIFY(entry);
        QCOMPARE(entry->toText(), QStringLiteral("standard|12|calibrated|tt_std"));
        QVERIFY(!s.list.entryAt(-1));
        QVERIFY(!s.list.entryAt(3));
        s.box->setItemData(1, QStringLiteral("standard|12"));
        QVERIFY(!s.list.entryAt(1));
    }

    void aBodyIsFoundByItsWholeNumber()
    {
        Setup s;
        QCOMPARE(s.list.positionOf(QStringLiteral("standard|12")), 1);
        QCOMPARE(s.list.positionOf(QStringLiteral("standard|1")), 0);
        QCOMPARE(s.list.positionOf(QStringLiteral("vimbar|1")), 2);
        QCOMPARE(s.list.positionOf(QStringLiteral("vimbar|2")), -1);
        QCOMPARE(s.list.positionOf(QStringLiteral("standard")), 0);
        QCOMPARE(s.list.positionOf(QString()), -1);
    }

    void aReleasedBoxOutlivesItsWindowUntilTheCallsHaveUnwound()
    {
        auto *window = new QWidget;
        auto *box = new QComboBox(window);
        auto *list = new BodyList(box, window);
        list->fill({item(QStringLiteral("standard"), 1)});
        const QPointer<QComboBox> alive(box);
        QObject::connect(list, &BodyList::pointedAt, list, [list, window] {
            list->releaseBox();
            delete window;
        });
        list->choose(0);
        QVERIFY(alive);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!alive);
    }
};

QUOREL2_TEST_MAIN(TestBodyList)
#include "tst_BodyList.moc"
