#include "FormChecks.h"

#include <model/abcMarker.h>
#include <tests/support/EventCounter.h>
#include <tests/support/TestMain.h>
#include <widgets/BodyTable.h>
#include <widgets/VexTableWidget02.h>

#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMetaMethod>
#include <QMouseEvent>
#include <QPointer>
#include <QScopedPointer>
#include <QScrollBar>
#include <QTimer>
#include <QVBoxLayout>
#include <QWindow>
#include <QtTest>

#include <cstdlib>
#include <memory>
#include <vector>

namespace {

MarkerRecord markerAt(double x, double y, double z, const Emission &emission = Emission())
{
    return MarkerRecord(0, bsVector(x, y, z), 10.0, 3.0, emission.x, emission.y, emission.z,
                        emission.angleDeg);
}

QStringList rowTexts(const QTableWidget *table, int row)
{
    QStringList texts;
    for (int column = 0; column < table->columnCount(); ++column)
        texts += table->item(row, column) ? table->item(row, column)->text() : QString();
    return texts;
}

QStringList headerTexts(const QTableWidget *table)
{
    QStringList texts;
    for (int column = 0; column < table->columnCount(); ++column)
        texts += table->horizontalHeaderItem(column)->text();
    return texts;
}

QList<MarkerRecord> twentyMarkers()
{
    QList<MarkerRecord> markers;
    for (int i = 0; i < 20; ++i)
        markers += markerAt(-999.99 + i, 12.5 * i, -0.5 * i, {0.0, 0.6, 0.8, 60.0 + i});
    return markers;
}

} // namespace

class tst_BodyTable : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void formIsAsNamed();
    void formTextsAreTranslatedInTheFormsContext();
    void hasNoSignalsSlotsOrPropertiesOfItsOwn();
    void bothTablesAreForReadingOnly_data();
    void bothTablesAreForReadingOnly();
    void emissionsAreHiddenUntilSomeMarkerEmits();

    void positionsHaveTwoDecimals();
    void rowsAreNumberedFromOneWhateverTheIds();
    void numbersAreRightAlignedAndTheMarkerIsNot();
    void emptyListLeavesNoRowsAndHidesTheEmissions();
    void aShorterListReplacesALongerOne();
    void recordsShowTheSameAsMarkers();

    void whatCountsAsEmission_data();
    void whatCountsAsEmission();
    void oneEmittingMarkerListsTheEmissionsOfAll();
    void hiddenEmissionsKeepTheirContents();

    void rawDataShowAsManyRowsAsTheShorterSequence_data();
    void rawDataShowAsManyRowsAsTheShorterSequence();
    void rawDataShowPositionsAndEmissions();
    void clearingLeavesNoRows();

    void emissionColumnsGetTheirWidth();
    void columnsFillTheWidthEvenly_data();
    void columnsFillTheWidthEvenly();
    void twentyMarkersAreReadable();
    void longTextsAreNotClipped();

    void rightPressOpensTheMenuUnderThePointer_data();
    void rightPressOpensTheMenuUnderThePointer();
    void rightPressAsksTheWindowForNoMenu();
    void rightPressOpensNothing_data();
    void rightPressOpensNothing();
    void otherButtonsOpenAndSelectNothing_data();
    void otherButtonsOpenAndSelectNothing();
    void doubleClickAndTypingEditNothing();
    void withoutAMenuNothingOpens();
    void aDeletedMenuIsForgotten();
    void theTableMayGoWhileItsMenuIsOpen_data();
    void theTableMayGoWhileItsMenuIsOpen();
    void theMenuStaysTheCallers();

private:
    /// Presses in the middle of @p target's window area at @p position, through the window, so that
    /// the event takes its way over all widgets. A menu that opens is recorded and closed.
    void press(QWidget *target, const QPoint &position, Qt::MouseButton button);

    VexTableWidget02 *data() const
    {
        return m_table->findChild<VexTableWidget02 *>(QStringLiteral("tableWidget_data"));
    }
    VexTableWidget02 *emissions() const
    {
        return m_table->findChild<VexTableWidget02 *>(QStringLiteral("tableWidget_emissions"));
    }
    QLabel *label(const char *name) const
    {
        return m_table->findChild<QLabel *>(QLatin1String(name));
    }
    void show(const QSize &size = QSize(650, 520))
    {
        m_window->resize(size);
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.data()));
    }

    QScopedPointer<QWidget> m_window;
    BodyTable *m_table = nullptr;
    QScopedPointer<QMenu> m_menu;
    QList<QPoint> m_menuPositions;
};

void tst_BodyTable::init()
{
    m_window.reset(new QWidget);
    auto *layout = new QVBoxLayout(m_window.data());
    layout->setContentsMargins(0, 0, 0, 0);
    m_table = new BodyTable(m_window.data());
    layout->addWidget(m_table);
    m_menu.reset(new QMenu);
    m_menu->addAction(QStringLiteral("Graphic view"));
    m_menuPositions.clear();
}

void tst_BodyTable::cleanup()
{
    m_window.reset();
    m_menu.reset();
}

void tst_BodyTable::press(QWidget *target, const QPoint &position, Qt::MouseButton button)
{
    QTimer watch;
    watch.setInterval(5);
    connect(&watch, &QTimer::timeout, this, [this] {
        if (QWidget *popup = QApplication::activePopupWidget()) {
            m_menuPositions += popup->pos();
            popup->close();
        }
    });
    watch.start();
    QWindow *window = m_window->windowHandle();
    const QPoint inWindow = target->mapTo(m_window.data(), position);
    QTest::mousePress(window, button, Qt::NoModifier, inWindow);
    QTest::mouseRelease(window, button, Qt::NoModifier, inWindow);
    QCoreApplication::processEvents();
}

void tst_BodyTable::formIsAsNamed()
{
    BodyTable table(nullptr);
    QCOMPARE(table.objectName(), QStringLiteral("BodyTable02Class"));
    QCOMPARE(table.size(), QSize(443, 334));
    QCOMPARE(table.windowTitle(), QStringLiteral("BodyTable02"));
    auto *layout = table.findChild<QVBoxLayout *>(QStringLiteral("verticalLayout"));
    QVERIFY(layout);
    QCOMPARE(table.layout(), layout);
    QCOMPARE(layout->spacing(), 6);
    QCOMPARE(layout->contentsMargins(), QMargins(11, 11, 11, 11));
    QStringList names;
    for (int i = 0; i < layout->count(); ++i)
        names += layout->itemAt(i)->widget()->objectName();
    QCOMPARE(names, QStringList({QStringLiteral("tableWidget_data"), QStringLiteral("label"),
                                 QStringLiteral("label_emissions"),
                                 QStringLiteral("tableWidget_emissions")}));
    QVERIFY(qobject_cast<VexTableWidget02 *>(layout->itemAt(0)->widget()));
    QCOMPARE(qobject_cast<QLabel *>(layout->itemAt(1)->widget())->text(), QString());
    QCOMPARE(qobject_cast<QLabel *>(layout->itemAt(2)->widget())->text(),
             QStringLiteral("Emissions:"));
    QVERIFY(qobject_cast<VexTableWidget02 *>(layout->itemAt(3)->widget()));
}

void tst_BodyTable::formTextsAreTranslatedInTheFormsContext()
{
    MarkingTranslator translator("BodyTable02Class");
    const InstalledTranslator installed(&translator);
    BodyTable table(nullptr);
    QCOMPARE(table.windowTitle(), QStringLiteral("*BodyTable02"));
    QCOMPARE(table.findChild<QLabel *>(QStringLiteral("label_emissions"))->text(),
             QStringLiteral("*Emissions:"));
}

void tst_BodyTable::hasNoSignalsSlotsOrPropertiesOfItsOwn()
{
    const QMetaObject &meta = BodyTable::staticMetaObject;
    QCOMPARE(QByteArray(meta.className()), QByteArray("BodyTable"));
    QCOMPARE(meta.methodCount(), meta.methodOffset());
    QCOMPARE(meta.propertyCount(), meta.propertyOffset());
}

void tst_BodyTable::bothTablesAreForReadingOnly_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QStringList>("headers");
    QTest::newRow("positions") << QStringLiteral("tableWidget_data")
                               << QStringList({QStringLiteral("Marker"), QStringLiteral("x [mm]"),
                                               QStringLiteral("y [mm]"), QStringLiteral("z [mm]")});
    QTest::newRow("emissions") << QStringLiteral("tableWidget_emissions")
                               << QStringList({QStringLiteral("Marker"), QStringLiteral("x"),
                                               QStringLiteral("y"), QStringLiteral("z"),
                                               QStringLiteral("Angle [deg]")});
}

void tst_BodyTable::bothTablesAreForReadingOnly()
{
    QFETCH(QString, name);
    QFETCH(QStringList, headers);
    auto *table = m_table->findChild<VexTableWidget02 *>(name);
    QVERIFY(table);
    QCOMPARE(headerTexts(table), headers);
    QVERIFY(table->verticalHeader()->isHidden());
    QVERIFY(!table->horizontalHeader()->isHidden());
    QVERIFY(!table->horizontalHeader()->sectionsClickable());
    QVERIFY(table->horizontalHeader()->stretchLastSection());
    QCOMPARE(table->selectionMode(), QAbstractItemView::NoSelection);
    QCOMPARE(table->editTriggers(), QAbstractItemView::NoEditTriggers);
    QCOMPARE(table->rowCount(), 0);
}

void tst_BodyTable::emissionsAreHiddenUntilSomeMarkerEmits()
{
    QVERIFY(label("label_emissions")->isHidden());
    QVERIFY(emissions()->isHidden());
    m_table->showMarkers(QList<MarkerRecord>{markerAt(1, 2, 3, {0, 0, 1, 60})});
    QVERIFY(!label("label_emissions")->isHidden());
    QVERIFY(!emissions()->isHidden());
}

void tst_BodyTable::positionsHaveTwoDecimals()
{
    abcMarker first(markerAt(1.25, -2, 0));
    abcMarker second(markerAt(-1234.567, 0.004, 99.999));
    m_table->showMarkers(QList<abcMarker *>{&first, &second});
    QCOMPARE(data()->rowCount(), 2);
    QCOMPARE(rowTexts(data(), 0), QStringList({QStringLiteral("1"), QStringLiteral("1.25"),
                                               QStringLiteral("-2.00"), QStringLiteral("0.00")}));
    QCOMPARE(rowTexts(data(), 1), QStringList({QStringLiteral("2"), QStringLiteral("-1234.57"),
                                               QStringLiteral("0.00"), QStringLiteral("100.00")}));
}

void tst_BodyTable::rowsAreNumberedFromOneWhateverTheIds()
{
    MarkerRecord seventh = markerAt(0, 0, 0);
    seventh.id = 6;
    MarkerRecord third = markerAt(1, 0, 0, {0, 0, 1, 10});
    third.id = 2;
    m_table->showMarkers(QList<MarkerRecord>{seventh, third});
    for (const QTableWidget *table : {data(), emissions()}) {
        QCOMPARE(table->item(0, 0)->text(), QStringLiteral("1"));
        QCOMPARE(table->item(1, 0)->text(), QStringLiteral("2"));
    }
}

void tst_BodyTable::numbersAreRightAlignedAndTheMarkerIsNot()
{
    m_table->showMarkers(twentyMarkers());
    for (const QTableWidget *table : {data(), emissions()}) {
        for (const int row : {0, 19}) {
            QVERIFY(!table->item(row, 0)->data(Qt::TextAlignmentRole).isValid());
            for (int column = 1; column < table->columnCount(); ++column)
                QCOMPARE(table->item(row, column)->textAlignment(),
                         int(Qt::AlignRight | Qt::AlignVCenter));
        }
    }
}

void tst_BodyTable::emptyListLeavesNoRowsAndHidesTheEmissions()
{
    m_table->showMarkers(twentyMarkers());
    m_table->showMarkers(QList<abcMarker *>());
    QCOMPARE(data()->rowCount(), 0);
    QVERIFY(label("label_emissions")->isHidden());
    QVERIFY(emissions()->isHidden());
}

void tst_BodyTable::aShorterListReplacesALongerOne()
{
    m_table->showMarkers(twentyMarkers());
    m_table->showMarkers(QList<MarkerRecord>{markerAt(1, 2, 3, {0, 1, 0, 5})});
    QCOMPARE(data()->rowCount(), 1);
    QCOMPARE(emissions()->rowCount(), 1);
    QCOMPARE(rowTexts(emissions(), 0),
             QStringList({QStringLiteral("1"), QStringLiteral("0.00"), QStringLiteral("1.00"),
                          QStringLiteral("0.00"), QStringLiteral("5.00")}));
}

void tst_BodyTable::recordsShowTheSameAsMarkers()
{
    const QList<MarkerRecord> records = twentyMarkers();
    m_table->showMarkers(records);
    QStringList fromRecords;
    for (int row = 0; row < 20; ++row)
        fromRecords += rowTexts(data(), row) + rowTexts(emissions(), row);
    std::vector<std::unique_ptr<abcMarker>> owner;
    QList<abcMarker *> markers;
    for (const MarkerRecord &record : records) {
        owner.push_back(std::make_unique<abcMarker>(record));
        markers += owner.back().get();
    }
    m_table->clearTable();
    m_table->showMarkers(markers);
    QStringList fromMarkers;
    for (int row = 0; row < 20; ++row)
        fromMarkers += rowTexts(data(), row) + rowTexts(emissions(), row);
    QCOMPARE(fromMarkers, fromRecords);
}

void tst_BodyTable::whatCountsAsEmission_data()
{
    QTest::addColumn<double>("x");
    QTest::addColumn<double>("y");
    QTest::addColumn<double>("z");
    QTest::addColumn<double>("angle");
    QTest::addColumn<bool>("emits");
    QTest::newRow("nothing") << 0.0 << 0.0 << 0.0 << 0.0 << false;
    QTest::newRow("tiny angle") << 0.0 << 0.0 << 0.0 << 0.0005 << false;
    QTest::newRow("the limit itself") << 0.0 << 0.0 << 0.0 << 0.001 << false;
    QTest::newRow("just above the limit") << 0.0 << 0.0 << 0.0 << 0.00101 << true;
    QTest::newRow("direction without angle") << 0.0 << 0.0 << 1.0 << 0.0 << true;
    QTest::newRow("angle without direction") << 0.0 << 0.0 << 0.0 << 60.0 << true;
    QTest::newRow("components that cancel out") << 0.6 << -0.6 << 0.0 << 0.0 << false;
    QTest::newRow("negative direction without angle") << 0.0 << 0.0 << -1.0 << 0.0 << false;
    QTest::newRow("negative direction outweighed by the angle")
        << 0.0 << 0.0 << -1.0 << 60.0 << true;
    QTest::newRow("not a number") << qQNaN() << 0.0 << 1.0 << 60.0 << false;
}

void tst_BodyTable::whatCountsAsEmission()
{
    QFETCH(double, x);
    QFETCH(double, y);
    QFETCH(double, z);
    QFETCH(double, angle);
    QFETCH(bool, emits);
    // Shown before, so that hiding is seen as well.
    m_table->showMarkers(QList<MarkerRecord>{markerAt(0, 0, 0, {0, 0, emits ? 0.0 : 1.0, 0})});
    abcMarker marker(markerAt(1, 2, 3, {x, y, z, angle}));
    m_table->showMarkers(QList<abcMarker *>{&marker});
    QCOMPARE(!emissions()->isHidden(), emits);
    QCOMPARE(!label("label_emissions")->isHidden(), emits);
}

void tst_BodyTable::oneEmittingMarkerListsTheEmissionsOfAll()
{
    m_table->showMarkers(QList<MarkerRecord>{
        markerAt(0, 0, 0), markerAt(1, 0, 0, {0.267, -0.535, 0.802, 45.5}), markerAt(2, 0, 0)});
    QCOMPARE(emissions()->rowCount(), 3);
    const auto nothing = [](const char *number) {
        return QStringList({QString::fromLatin1(number), QStringLiteral("0.00"),
                            QStringLiteral("0.00"), QStringLiteral("0.00"),
                            QStringLiteral("0.00")});
    };
    QCOMPARE(rowTexts(emissions(), 0), nothing("1"));
    QCOMPARE(rowTexts(emissions(), 1),
             QStringList({QStringLiteral("2"), QStringLiteral("0.27"), QStringLiteral("-0.54"),
                          QStringLiteral("0.80"), QStringLiteral("45.50")}));
    QCOMPARE(rowTexts(emissions(), 2), nothing("3"));
}

void tst_BodyTable::hiddenEmissionsKeepTheirContents()
{
    m_table->showMarkers(QList<MarkerRecord>{markerAt(0, 0, 0, {0, 0, 1, 60})});
    m_table->showMarkers(QList<MarkerRecord>{markerAt(5, 0, 0), markerAt(6, 0, 0)});
    QVERIFY(emissions()->isHidden());
    QCOMPARE(emissions()->rowCount(), 1);
    QCOMPARE(emissions()->item(0, 4)->text(), QStringLiteral("60.00"));
}

void tst_BodyTable::rawDataShowAsManyRowsAsTheShorterSequence_data()
{
    QTest::addColumn<int>("positionCount");
    QTest::addColumn<int>("emissionCount");
    QTest::addColumn<int>("rows");
    QTest::newRow("fewer emissions") << 5 << 4 << 4;
    QTest::newRow("fewer positions") << 3 << 6 << 3;
    QTest::newRow("as many") << 20 << 20 << 20;
    QTest::newRow("no emissions") << 5 << 0 << 0;
    QTest::newRow("nothing") << 0 << 0 << 0;
}

void tst_BodyTable::rawDataShowAsManyRowsAsTheShorterSequence()
{
    QFETCH(int, positionCount);
    QFETCH(int, emissionCount);
    QFETCH(int, rows);
    m_table->showRawMarkers(3, QVector<bsVector>(positionCount), QVector<Emission>(emissionCount));
    QCOMPARE(data()->rowCount(), rows);
}

void tst_BodyTable::rawDataShowPositionsAndEmissions()
{
    m_table->showRawMarkers(7, {bsVector(1, 2, 3), bsVector(-4, 5.555, 6)},
                            {Emission{0, 0, 1, 30}, Emission{1, 0, 0, 31.25}});
    QCOMPARE(rowTexts(data(), 1),
             QStringList({QStringLiteral("2"), QStringLiteral("-4.00"),
                          QString::number(5.555, 'f', 2), QStringLiteral("6.00")}));
    QCOMPARE(rowTexts(emissions(), 1),
             QStringList({QStringLiteral("2"), QStringLiteral("1.00"), QStringLiteral("0.00"),
                          QStringLiteral("0.00"), QStringLiteral("31.25")}));
    QVERIFY(!emissions()->isHidden());
}

void tst_BodyTable::clearingLeavesNoRows()
{
    m_table->showMarkers(twentyMarkers());
    m_table->clearTable();
    QCOMPARE(data()->rowCount(), 0);
    QCOMPARE(emissions()->rowCount(), 0);
    QVERIFY(emissions()->isHidden());
    QVERIFY(label("label_emissions")->isHidden());
    QCOMPARE(data()->columnCount(), 4);
    QCOMPARE(data()->horizontalHeaderItem(1)->text(), QStringLiteral("x [mm]"));
}

void tst_BodyTable::emissionColumnsGetTheirWidth()
{
    m_table->showMarkers(twentyMarkers());
    show();
    for (int column = 1; column <= 3; ++column)
        emissions()->setColumnWidth(column, 33 + column);
    m_table->fitEmissionColumns();
    for (int column = 1; column <= 3; ++column)
        QCOMPARE(emissions()->columnWidth(column), 80);
}

void tst_BodyTable::columnsFillTheWidthEvenly_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<int>("rows");
    QTest::newRow("four markers") << QSize(650, 520) << 4;
    QTest::newRow("twenty markers, scrolled") << QSize(443, 334) << 20;
    QTest::newRow("a large window") << QSize(1500, 900) << 20;
}

void tst_BodyTable::columnsFillTheWidthEvenly()
{
    QFETCH(QSize, size);
    QFETCH(int, rows);
    m_table->showMarkers(twentyMarkers().mid(0, rows));
    show();
    m_window->resize(size);
    const auto fits = [this] {
        const QTableWidget *table = data();
        const int width = table->columnWidth(1);
        return std::abs(table->columnWidth(2) - width) <= 1 &&
               std::abs(table->columnWidth(3) - width) <= 1 &&
               table->horizontalHeader()->length() == table->viewport()->width();
    };
    QTRY_VERIFY(m_window->size() == size && fits());
    QVERIFY(!data()->horizontalScrollBar()->isVisible());
    // The emission table's last column takes what the fixed ones leave.
    QCOMPARE(emissions()->horizontalHeader()->length(), emissions()->viewport()->width());
}

void tst_BodyTable::twentyMarkersAreReadable()
{
    m_table->showMarkers(twentyMarkers());
    show();
    for (const QTableWidget *table : {data(), emissions()}) {
        QVERIFY(table->rowHeight(0) >= table->fontMetrics().height() + 2);
        for (int row = 0; row < 20; ++row) {
            for (int column = 0; column < table->columnCount(); ++column) {
                const int needed =
                    table->fontMetrics().horizontalAdvance(table->item(row, column)->text());
                QVERIFY(needed + 6 <= table->columnWidth(column));
            }
        }
        QVERIFY(!table->horizontalScrollBar()->isVisible());
    }
    // Without emissions they are all seen at once.
    QList<MarkerRecord> silent = twentyMarkers();
    for (MarkerRecord &marker : silent)
        marker.emission = Emission();
    m_table->showMarkers(silent);
    m_window->resize(650, 600);
    QTRY_VERIFY(!data()->verticalScrollBar()->isVisible());
}

void tst_BodyTable::longTextsAreNotClipped()
{
    LongTexts translator;
    const InstalledTranslator installed(&translator);
    delete m_table;
    m_table = new BodyTable(m_window.data());
    m_window->layout()->addWidget(m_table);
    m_table->showMarkers(twentyMarkers());
    show();
    QCOMPARE(clippedTexts(m_window.data()), QStringList());
    for (const QTableWidget *table : {data(), emissions()}) {
        for (int column = 0; column < table->columnCount(); ++column)
            QVERIFY(table->horizontalHeader()->sectionSize(column) >=
                    table->horizontalHeader()->sectionSizeHint(column));
    }
}

void tst_BodyTable::rightPressOpensTheMenuUnderThePointer_data()
{
    QTest::addColumn<QString>("target");
    QTest::newRow("marker row") << QStringLiteral("row");
    QTest::newRow("empty part of the marker table") << QStringLiteral("empty");
    QTest::newRow("margin of the widget") << QStringLiteral("margin");
    QTest::newRow("label above the emissions") << QStringLiteral("label");
}

void tst_BodyTable::rightPressOpensTheMenuUnderThePointer()
{
    QFETCH(QString, target);
    m_table->setContextMenu(m_menu.data());
    m_table->showMarkers(twentyMarkers().mid(0, 2));
    show();
    QWidget *widget = m_table;
    QPoint position(4, 4);
    if (target == QLatin1String("row")) {
        widget = data()->viewport();
        position = data()->visualItemRect(data()->item(1, 2)).center();
    } else if (target == QLatin1String("empty")) {
        widget = data()->viewport();
        position = widget->rect().bottomRight() - QPoint(5, 5);
        QVERIFY(!data()->itemAt(position));
    } else if (target == QLatin1String("label")) {
        widget = label("label_emissions");
        position = widget->rect().center();
    }
    press(widget, position, Qt::RightButton);
    QCOMPARE(m_menuPositions, QList<QPoint>{widget->mapToGlobal(position)});
    QVERIFY(data()->selectedItems().isEmpty());
    QVERIFY(data()->currentRow() != 1);
}

void tst_BodyTable::rightPressAsksTheWindowForNoMenu()
{
    // A dialog would answer with its "What's This?".
    const EventCounter asked(m_window.data(), QEvent::ContextMenu);
    m_table->showMarkers(twentyMarkers().mid(0, 2));
    show();
    press(data()->viewport(), QPoint(20, 20), Qt::RightButton);
    press(emissions()->viewport(), QPoint(20, 20), Qt::RightButton);
    press(label("label_emissions"), QPoint(5, 5), Qt::RightButton);
    press(m_table, QPoint(4, 4), Qt::RightButton);
    QCOMPARE(asked.count, 0);
}

void tst_BodyTable::rightPressOpensNothing_data()
{
    QTest::addColumn<bool>("onRow");
    QTest::newRow("emission row") << true;
    QTest::newRow("empty part of the emission table") << false;
}

void tst_BodyTable::rightPressOpensNothing()
{
    QFETCH(bool, onRow);
    m_table->setContextMenu(m_menu.data());
    m_table->showMarkers(twentyMarkers().mid(0, 2));
    show();
    QWidget *viewport = emissions()->viewport();
    const QPoint position = onRow ? emissions()->visualItemRect(emissions()->item(1, 2)).center()
                                  : viewport->rect().bottomRight() - QPoint(5, 5);
    QSignalSpy shown(m_menu.data(), &QMenu::aboutToShow);
    press(viewport, position, Qt::RightButton);
    QCOMPARE(m_menuPositions, QList<QPoint>());
    QCOMPARE(shown.count(), 0);
    QVERIFY(emissions()->currentRow() != 1);
}

void tst_BodyTable::otherButtonsOpenAndSelectNothing_data()
{
    QTest::addColumn<int>("button");
    QTest::newRow("left") << int(Qt::LeftButton);
    QTest::newRow("middle") << int(Qt::MiddleButton);
}

void tst_BodyTable::otherButtonsOpenAndSelectNothing()
{
    QFETCH(int, button);
    m_table->setContextMenu(m_menu.data());
    m_table->showMarkers(twentyMarkers().mid(0, 3));
    show();
    QSignalSpy shown(m_menu.data(), &QMenu::aboutToShow);
    for (VexTableWidget02 *table : {data(), emissions()}) {
        press(table->viewport(), table->visualItemRect(table->item(1, 1)).center(),
              Qt::MouseButton(button));
        QVERIFY(table->selectedItems().isEmpty());
        // The focus may make the first row the current one; the press does not make its own.
        QVERIFY(table->currentRow() != 1);
    }
    press(m_table, QPoint(4, 4), Qt::MouseButton(button));
    QCOMPARE(shown.count(), 0);
}

void tst_BodyTable::doubleClickAndTypingEditNothing()
{
    m_table->showMarkers(twentyMarkers().mid(0, 3));
    show();
    const QPoint cell = data()->visualItemRect(data()->item(0, 1)).center();
    QTest::mouseDClick(data()->viewport(), Qt::LeftButton, Qt::NoModifier, cell);
    data()->setFocus();
    QTest::keyClick(data(), Qt::Key_F2);
    QTest::keyClicks(data(), QStringLiteral("42"));
    QTest::keyClick(data(), Qt::Key_Return);
    QVERIFY(data()->findChildren<QLineEdit *>().isEmpty());
    QCOMPARE(data()->item(0, 1)->text(), QStringLiteral("-999.99"));
}

void tst_BodyTable::withoutAMenuNothingOpens()
{
    m_table->showMarkers(twentyMarkers().mid(0, 3));
    show();
    press(data()->viewport(), QPoint(20, 20), Qt::RightButton);
    press(m_table, QPoint(4, 4), Qt::RightButton);
    m_table->setContextMenu(m_menu.data());
    m_table->setContextMenu(nullptr);
    press(data()->viewport(), QPoint(20, 20), Qt::RightButton);
    press(m_table, QPoint(4, 4), Qt::RightButton);
    QCOMPARE(m_menuPositions, QList<QPoint>());
}

void tst_BodyTable::aDeletedMenuIsForgotten()
{
    m_table->setContextMenu(m_menu.data());
    m_table->showMarkers(twentyMarkers().mid(0, 3));
    show();
    m_menu.reset();
    press(data()->viewport(), QPoint(20, 20), Qt::RightButton);
    press(m_table, QPoint(4, 4), Qt::RightButton);
    QCOMPARE(m_menuPositions, QList<QPoint>());
}

void tst_BodyTable::theTableMayGoWhileItsMenuIsOpen_data()
{
    QTest::addColumn<bool>("onRow");
    QTest::addColumn<bool>("ownsMenu");
    QTest::newRow("opened on a row") << true << false;
    QTest::newRow("opened beside the tables") << false << false;
    QTest::newRow("opened on a row, with its menu") << true << true;
    QTest::newRow("opened beside the tables, with its menu") << false << true;
}

void tst_BodyTable::theTableMayGoWhileItsMenuIsOpen()
{
    QFETCH(bool, onRow);
    QFETCH(bool, ownsMenu);
    QPointer<QMenu> menu(m_menu.data());
    if (ownsMenu) {
        menu = new QMenu(m_table);
        menu->addAction(QStringLiteral("Graphic view"));
    }
    m_table->setContextMenu(menu);
    m_table->showMarkers(twentyMarkers().mid(0, 3));
    show();
    const QPointer<BodyTable> table(m_table);
    bool open = false;
    QTimer end;
    connect(&end, &QTimer::timeout, this, [&] {
        if (QApplication::activePopupWidget() != menu || !menu->isVisible())
            return;
        end.stop();
        open = true;
        delete m_table;
        if (menu)
            menu->close();
    });
    end.start(5);
    // Straight to the widget: behind a right press in a window Qt itself goes on with the widget.
    QWidget *target = onRow ? data()->viewport() : m_table;
    const QPoint place(4, 4);
    QMouseEvent event(QEvent::MouseButtonPress, place, target->mapToGlobal(place), Qt::RightButton,
                      Qt::RightButton, Qt::NoModifier);
    QApplication::sendEvent(target, &event);
    QVERIFY(open);
    QVERIFY(!table);
    QCOMPARE(menu.isNull(), ownsMenu);
    QVERIFY(!QApplication::activePopupWidget());
}

void tst_BodyTable::theMenuStaysTheCallers()
{
    m_table->setContextMenu(m_menu.data());
    const QPointer<QMenu> menu(m_menu.data());
    m_window.reset();
    QVERIFY(menu);
}

QUOREL2_TEST_MAIN(tst_BodyTable)
#include "tst_BodyTable.moc"
