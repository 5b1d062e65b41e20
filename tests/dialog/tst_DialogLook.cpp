#include "DialogTest.h"

#include <dialog/BodyAdjustmentDialog.h>
#include <tests/support/Contrast.h>
#include <tests/support/TestMain.h>
#include <tests/widgets/FormChecks.h>
#include <view/GLCanvas.h>
#include <widgets/BodyTable.h>
#include <widgets/HelpDialog.h>
#include <widgets/SetAxisDialog.h>
#include <widgets/WidgetResources.h>
#include <widgets/bsDoubleWidget.h>

#include <QAbstractItemView>
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QHeaderView>
#include <QImage>
#include <QLabel>
#include <QProcess>
#include <QPushButton>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QTabBar>
#include <QTabWidget>
#include <QTableWidget>
#include <QTranslator>
#include <QWindow>
#include <QtTest>

#include <qwt_wheel.h>

#include <algorithm>
#include <cmath>

namespace {

const QSize kSmallScreen(1280, 1024);
const QSize kNarrow(900, 650);
const QSize kWide(1900, 1150);

/// Makes every line of every text 40% longer, inside the marks of a rich text too, with letters
/// that stand high and low. Key sequences stay.
class LongerTexts : public QTranslator {
public:
    bool isEmpty() const override { return false; }
    QString translate(const char *, const char *sourceText, const char *, int) const override
    {
        const QString text = QString::fromUtf8(sourceText);
        if (text.startsWith(QLatin1String("Alt+")) || text.isEmpty())
            return text;
        QStringList lines = text.split(QLatin1Char('\n'));
        for (QString &line : lines) {
            // Behind the text and in front of the marks that close it.
            int end = line.indexOf(QLatin1String("</"), line.lastIndexOf(QLatin1String("head/>")) +
                                                            int(qstrlen("head/>")));
            if (!line.startsWith(QLatin1Char('<')))
                end = line.indexOf(QLatin1Char('<'));
            if (end < 0)
                end = line.size();
            const int shown = QString(line)
                                  .remove(QRegularExpression(QStringLiteral("<[^>]*>")))
                                  .remove(QLatin1Char('&'))
                                  .size();
            QString tail;
            while (tail.size() < std::ceil(shown * 0.4))
                tail += QStringLiteral("ÜÄgößpf");
            tail.truncate(int(std::ceil(shown * 0.4)));
            line.insert(end, tail);
        }
        return lines.join(QLatin1Char('\n'));
    }
};

QPalette darkPalette()
{
    const QColor ground(53, 53, 53);
    QPalette palette(ground, ground);
    palette.setColor(QPalette::Base, QColor(35, 35, 35));
    palette.setColor(QPalette::AlternateBase, QColor(45, 45, 45));
    for (const QPalette::ColorRole role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(role, Qt::white);
    return palette;
}

QString finePath(QString path)
{
    return path.insert(path.lastIndexOf(QLatin1Char('.')), QLatin1String("@2x"));
}

QImage plain(const QImage &image)
{
    QImage result = image.convertToFormat(QImage::Format_ARGB32);
    result.setDevicePixelRatio(1.0);
    return result;
}

/// True if @p grabbed shows @p picture somewhere, pixel by pixel where that is opaque.
bool shows(const QImage &grabbed, const QImage &picture)
{
    const auto matchesAt = [&](int left, int top) {
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = 0; x < picture.width(); ++x) {
                const QRgb wanted = picture.pixel(x, y);
                if (qAlpha(wanted) != 255)
                    continue;
                const QRgb seen = grabbed.pixel(left + x, top + y);
                if (std::abs(qRed(seen) - qRed(wanted)) > 2 ||
                    std::abs(qGreen(seen) - qGreen(wanted)) > 2 ||
                    std::abs(qBlue(seen) - qBlue(wanted)) > 2)
                    return false;
            }
        }
        return true;
    };
    for (int top = 0; top + picture.height() <= grabbed.height(); ++top) {
        for (int left = 0; left + picture.width() <= grabbed.width(); ++left) {
            if (matchesAt(left, top))
                return true;
        }
    }
    return false;
}

/// The visible controls below @p window that show something of their own.
QList<QWidget *> shownControls(const QWidget *window)
{
    QList<QWidget *> controls;
    for (QWidget *widget : window->findChildren<QWidget *>()) {
        const auto *label = qobject_cast<QLabel *>(widget);
        const bool shown =
            label ? !label->text().isEmpty() || !label->pixmap(Qt::ReturnByValue).isNull()
                  : qobject_cast<QAbstractButton *>(widget) || qobject_cast<QComboBox *>(widget) ||
                        qobject_cast<QDoubleSpinBox *>(widget) ||
                        qobject_cast<QwtWheel *>(widget) || qobject_cast<QTableWidget *>(widget) ||
                        qobject_cast<QTabBar *>(widget) || qobject_cast<GLCanvas *>(widget);
        // What a control is made of belongs to it.
        const QWidget *parent = widget->parentWidget();
        if (shown && widget->isVisible() && !parent->inherits("QAbstractItemView") &&
            !parent->inherits("QTabBar"))
            controls.append(widget);
    }
    return controls;
}

QRect placeIn(const QWidget *window, const QWidget *widget)
{
    return {widget->mapTo(window, QPoint()), widget->size()};
}

QString describe(const QWidget *widget)
{
    QString name = widget->objectName();
    if (name.isEmpty())
        name = widget->accessibleName();
    if (name.isEmpty())
        name = widget->property("text").toString();
    return QString::fromLatin1(widget->metaObject()->className()) + QLatin1Char(' ') + name;
}

QString text(const QRect &rect)
{
    return QStringLiteral("%1,%2 %3x%4")
        .arg(rect.x())
        .arg(rect.y())
        .arg(rect.width())
        .arg(rect.height());
}

/// What is wrong with the layout of @p window as it stands: texts that are cut off, controls that
/// are smaller than they ask for, that cover each other or stick out of the window.
QStringList faults(const QWidget *window)
{
    QStringList found = clippedTexts(window);
    const QList<QWidget *> controls = shownControls(window);
    for (int i = 0; i < controls.size(); ++i) {
        const QWidget *one = controls.at(i);
        const QRect place = placeIn(window, one);
        if (!window->rect().contains(place))
            found.append(describe(one) + QLatin1String(" sticks out: ") + text(place));
        const auto *label = qobject_cast<const QLabel *>(one);
        QSize wanted = one->minimumSizeHint();
        if (label && label->wordWrap())
            wanted = QSize(0, label->heightForWidth(label->width()));
        if (one->minimumWidth() > 0)
            wanted.setWidth(one->minimumWidth());
        if (wanted.width() > one->width() || wanted.height() > one->height())
            found.append(QStringLiteral("%1 wants %2x%3, has %4x%5")
                             .arg(describe(one))
                             .arg(wanted.width())
                             .arg(wanted.height())
                             .arg(one->width())
                             .arg(one->height()));
        for (int j = i + 1; j < controls.size(); ++j) {
            const QWidget *other = controls.at(j);
            if (one->isAncestorOf(other) || other->isAncestorOf(one))
                continue;
            if (place.intersects(placeIn(window, other)))
                found.append(describe(one) + QLatin1String(" covers ") + describe(other));
        }
    }
    for (const QTableWidget *table : window->findChildren<QTableWidget *>()) {
        if (!table->isVisible())
            continue;
        for (int column = 0; column < table->columnCount(); ++column) {
            const int width = table->columnWidth(column);
            const QString header = table->horizontalHeaderItem(column)->text();
            if (table->horizontalHeader()->fontMetrics().horizontalAdvance(header) > width)
                found.append(QStringLiteral("header \"%1\" is cut off").arg(header));
            for (int row = 0; row < table->rowCount(); ++row) {
                const QString value = table->item(row, column)->text();
                if (table->fontMetrics().horizontalAdvance(value) > width ||
                    table->fontMetrics().height() > table->rowHeight(row))
                    found.append(QStringLiteral("value \"%1\" is cut off").arg(value));
            }
        }
    }
    return found;
}

/// Every text of the window that is seen or told, by the widget that carries it.
QStringList textsOf(const QWidget *window)
{
    QStringList texts = {window->windowTitle(), window->whatsThis()};
    for (const QWidget *widget : window->findChildren<QWidget *>()) {
        // The arrows of a tab bar are the toolkit's.
        if (widget->window() != window || qobject_cast<const QTabBar *>(widget->parentWidget()))
            continue;
        QStringList own;
        for (const char *property :
             {"text", "whatsThis", "toolTip", "accessibleName", "accessibleDescription", "title"}) {
            if (qobject_cast<const QDoubleSpinBox *>(widget) && QByteArray(property) == "text")
                continue;
            own.append(widget->property(property).toString());
        }
        if (const auto *button = qobject_cast<const QAbstractButton *>(widget))
            own.append(button->shortcut().toString());
        if (const auto *tabs = qobject_cast<const QTabBar *>(widget)) {
            for (int i = 0; i < tabs->count(); ++i)
                own.append(tabs->tabText(i));
        }
        if (const auto *list = qobject_cast<const QComboBox *>(widget)) {
            for (int i = 0; i < list->count(); ++i)
                own.append(list->itemText(i));
            own.append(QString::number(list->currentIndex()));
        }
        if (const auto *table = qobject_cast<const QTableWidget *>(widget)) {
            for (int column = 0; column < table->columnCount(); ++column)
                own.append(table->horizontalHeaderItem(column)->text());
        }
        own.removeAll(QString());
        if (!own.isEmpty())
            texts.append(widget->objectName() + QLatin1String(": ") +
                         own.join(QLatin1String(" | ")));
    }
    texts.sort();
    return texts;
}

} // namespace

class tst_DialogLook : public DialogTest {
    Q_OBJECT

private:
    QTabWidget *tabs() { return fixture().child<QTabWidget>("tabWidget"); }
    QRect place(const char *name) { return placeIn(dialog(), fixture().child<QWidget>(name)); }
    template <typename Control>
    QList<QRect> placesIn(const char *group)
    {
        QList<QRect> places;
        for (auto *component : fixture().child<QWidget>(group)->findChildren<bsDoubleWidget *>())
            places.append(placeIn(dialog(), component->findChild<Control *>()));
        return places;
    }
    void showDataView(bool dataView)
    {
        if (canvas()->isVisible() == dataView)
            fixture().menuAction(QStringLiteral("Data view"))->trigger();
        QCoreApplication::processEvents();
        QCOMPARE(canvas()->isVisible(), !dataView);
    }
    void deliver(const QByteArray &quality) { host().deliver("6d", bodyLine(0, quality)); }
    static void settle()
    {
        for (int i = 0; i < 5; ++i)
            QCoreApplication::processEvents();
    }
    /// Runs some of these tests again, as the only way to another scale of the display.
    static void runScaled(const QString &scale, const QStringList &tests)
    {
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("QT_SCALE_FACTOR"), scale);
        environment.insert(QStringLiteral("QUOREL2_EXPECTED_RATIO"), scale);
        process.setProcessEnvironment(environment);
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(QCoreApplication::applicationFilePath(), tests);
        QVERIFY(process.waitForFinished(200000));
        QVERIFY2(process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0,
                 process.readAll().constData());
    }
    void expectedRatioIsThere()
    {
        const QByteArray expected = qgetenv("QUOREL2_EXPECTED_RATIO");
        if (!expected.isEmpty())
            QCOMPARE(dialog()->devicePixelRatioF(), expected.toDouble());
    }

private slots:
    void initTestCase() { initWidgetResources(); }

    // Texts

    void everythingFits_data()
    {
        QTest::addColumn<int>("pointSize");
        QTest::addColumn<bool>("longer");
        for (const int size : {0, 8, 12}) {
            for (const bool longer : {false, true})
                QTest::addRow("%s, %s texts",
                              size ? qPrintable(QStringLiteral("%1 pt").arg(size)) : "usual font",
                              longer ? "longer" : "own")
                    << size << longer;
        }
    }

    void everythingFits()
    {
        QFETCH(int, pointSize);
        QFETCH(bool, longer);
        const QFont usual = QApplication::font();
        const auto restoreFont = qScopeGuard([usual] { QApplication::setFont(usual); });
        if (pointSize > 0) {
            QFont font = usual;
            font.setPointSize(pointSize);
            QApplication::setFont(font);
        }
        LongerTexts translator;
        const InstalledTranslator installed(longer ? &translator : nullptr);
        fixture().session([&] {
            expectedRatioIsThere();
            if (longer)
                QCOMPARE(fixture().child<QPushButton>("cancel_button")->text(),
                         QStringLiteral("CancelÜÄg"));
            for (const bool smallest : {false, true}) {
                for (const int body : {-1, int(DialogFixture::Wand), int(DialogFixture::Plain),
                                       int(DialogFixture::Tube), int(DialogFixture::Raw)}) {
                    if (body < 0)
                        dialog()->update_current_body(-1);
                    else
                        fixture().choose(body);
                    deliver("1.000");
                    settle();
                    if (smallest)
                        dialog()->resize(dialog()->minimumSizeHint());
                    settle();
                    for (int tab = 0; tab < tabs()->count(); ++tab) {
                        for (const bool dataView : {false, true}) {
                            tabs()->setCurrentIndex(tab);
                            showDataView(dataView);
                            settle();
                            QCOMPARE(faults(dialog()).join(QLatin1Char('\n')), QString());
                        }
                    }
                    const QSize frame = dialog()->frameGeometry().size();
                    QVERIFY2(frame.width() <= kSmallScreen.width() &&
                                 frame.height() <= kSmallScreen.height(),
                             qPrintable(text(dialog()->frameGeometry())));
                }
            }

            SetAxisDialog axes(dialog());
            axes.show();
            QVERIFY(QTest::qWaitForWindowExposed(&axes));
            QCOMPARE(faults(&axes).join(QLatin1Char('\n')), QString());
            HelpDialog help(dialog());
            help.show();
            QVERIFY(QTest::qWaitForWindowExposed(&help));
            QCOMPARE(faults(&help).join(QLatin1Char('\n')), QString());
            QCOMPARE(help.width(), 768);
        });
    }

    void everythingFitsOnAFineDisplay()
    {
        runScaled(QStringLiteral("2"), {QStringLiteral("everythingFits:12 pt, longer texts"),
                                        QStringLiteral("everythingFits:usual font, own texts")});
    }

    void messagesThatAreLongFitToo()
    {
        LongerTexts translator;
        const InstalledTranslator installed(&translator);
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            const QSize size = dialog()->size();
            auto *message = fixture().child<QLabel>("error_label");
            message->setText(QStringLiteral("The markers of this body do not define a coordinate "
                                            "system: at least three markers are needed. ")
                                 .repeated(3));
            message->show();
            settle();
            QCOMPARE(faults(dialog()).join(QLatin1Char('\n')), QString());
            QCOMPARE(dialog()->size(), size);
        });
    }

    void theLanguageChangesWhileTheDialogIsOpen_data()
    {
        QTest::addColumn<int>("body");
        QTest::newRow("nothing chosen") << -1;
        QTest::newRow("calibrated") << int(DialogFixture::Wand);
        QTest::newRow("cylinder") << int(DialogFixture::Tube);
        QTest::newRow("uncalibrated") << int(DialogFixture::Raw);
    }

    void theLanguageChangesWhileTheDialogIsOpen()
    {
        QFETCH(int, body);
        LongerTexts translator;
        const auto bringToState = [body](DialogFixture &other) {
            if (body >= 0)
                other.choose(body);
            // Values that are shown as texts.
            other.child<QDoubleSpinBox>("doubleSpinBox_ex")->setValue(0.0);
            other.child<QDoubleSpinBox>("doubleSpinBox_ez")->setValue(2.0);
            // Of the axes to preserve, the one in the middle is left out.
            other.child<QComboBox>("axisToSetComboBox")->setCurrentIndex(1);
            other.child<QComboBox>("axisToPreserveComboBox")->setCurrentIndex(1);
        };
        const auto allTexts = [](const DialogFixture &other) {
            return textsOf(other.dialog.get()) +
                   textsOf(other.dialog->findChild<SetAxisDialog *>());
        };
        QStringList freshlyOpened;
        {
            const InstalledTranslator installed(&translator);
            DialogFixture other;
            other.session([&] {
                bringToState(other);
                freshlyOpened = allTexts(other);
            });
        }
        QVERIFY(!freshlyOpened.isEmpty());
        fixture().session([&] {
            bringToState(fixture());
            HelpDialog help(dialog());
            const QStringList before = allTexts(fixture());
            const QStringList helpBefore = textsOf(&help);
            {
                const InstalledTranslator installed(&translator);
                settle();
                QCOMPARE(allTexts(fixture()), freshlyOpened);
                QVERIFY(freshlyOpened != before);
                QCOMPARE(textsOf(&help), textsOf(std::make_unique<HelpDialog>(nullptr).get()));
                QVERIFY(textsOf(&help) != helpBefore);
                for (int tab = 0; tab < tabs()->count(); ++tab) {
                    tabs()->setCurrentIndex(tab);
                    settle();
                    QCOMPARE(faults(dialog()).join(QLatin1Char('\n')), QString());
                }
            }
            settle();
            QCOMPARE(allTexts(fixture()), before);
            QCOMPARE(textsOf(&help), helpBefore);
        });
    }

    void aChangeOfTheLanguageChangesNothingElse()
    {
        LongerTexts translator;
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            fixture().click("set_origin_cog_button");
            fixture().typeValue("body_pos_xyzWidget", 0, QStringLiteral("12"));
            host().clearRecords();
            const QStringList enabled = fixture().enabledControls();
            const InstalledTranslator installed(&translator);
            settle();
            QCOMPARE(fixture().enabledControls(), enabled);
            QCOMPARE(host().transcript, QStringList());
            QVERIFY(fixture().boxes.isEmpty());
            QCOMPARE(fixture().child<QComboBox>("body_name")->currentIndex(),
                     int(DialogFixture::Wand));
            auto *field = qobject_cast<QDoubleSpinBox *>(QApplication::focusWidget());
            QVERIFY(field);
            QCOMPARE(field->value(), 12.0);
            QTest::keyClick(field, Qt::Key_Return);
            QVERIFY(canvas()->hasUnappliedChanges());
        });
    }

    void aMessageOutlastsAChangeOfTheLanguage()
    {
        LongerTexts translator;
        // All distances are equal.
        host().addBody("standard", 2, "", true, "tt_std",
                       {{40, 40, 40}, {40, -40, -40}, {-40, 40, -40}, {-40, -40, 40}});
        fixture().session([&] {
            fixture().choose(DialogFixture::Plain);
            dialog()->on_pushButton_due_to_body_clicked();
            auto *error = fixture().child<QLabel>("error_label");
            const QString told = error->text();
            QVERIFY(!told.isEmpty());
            const InstalledTranslator installed(&translator);
            settle();
            QCOMPARE(error->text(), told);
            QVERIFY(error->isVisible());
        });
    }

    // Sizes

    void columnsAreAligned_data()
    {
        QTest::addColumn<bool>("longer");
        QTest::addColumn<QSize>("size");
        QTest::newRow("as it opens") << false << QSize();
        QTest::newRow("narrow") << false << kNarrow;
        QTest::newRow("wide") << false << kWide;
        QTest::newRow("longer texts") << true << QSize();
        QTest::newRow("longer texts, wide") << true << kWide;
    }

    void columnsAreAligned()
    {
        QFETCH(bool, longer);
        QFETCH(QSize, size);
        LongerTexts translator;
        const InstalledTranslator installed(longer ? &translator : nullptr);
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            if (size.isValid()) {
                dialog()->resize(size);
                QTRY_COMPARE(dialog()->size(), size);
            }
            settle();
            QCOMPARE(faults(dialog()).join(QLatin1Char('\n')), QString());

            // The six fields stand below each other, and so do their labels.
            QVector<int> lefts;
            QVector<int> rights;
            QVector<int> labels;
            for (const char *group : {"body_pos_xyzWidget", "body_ori_xyzWidget"}) {
                for (const QRect &field : placesIn<QDoubleSpinBox>(group)) {
                    lefts.append(field.left());
                    rights.append(field.right());
                }
                for (const QRect &label : placesIn<QLabel>(group))
                    labels.append(label.left());
            }
            for (const QVector<int> &column : {lefts, rights, labels})
                QCOMPARE(column, QVector<int>(6, column.first()));

            for (const char *name : {"set_origin_cog_button", "set_axis_button",
                                     "adjust_axes_to_room_button", "pushButton_deleteMarker"}) {
                QCOMPARE(place(name).left(), place("set_origin_button").left());
                QCOMPARE(place(name).width(), place("set_origin_button").width());
            }

            // The wheels stand in one row, each close to its letter.
            const QList<QRect> wheels =
                placesIn<QwtWheel>("pos_xyzWidget") + placesIn<QwtWheel>("ori_xyzWidget");
            const QList<QRect> letters =
                placesIn<QLabel>("pos_xyzWidget") + placesIn<QLabel>("ori_xyzWidget");
            for (int i = 0; i < wheels.size(); ++i) {
                QCOMPARE(wheels.at(i).top(), wheels.first().top());
                QCOMPARE(wheels.at(i).size(), wheels.first().size());
                QVERIFY(wheels.at(i).left() - letters.at(i).right() <= 15);
            }

            // Edges of the window's parts.
            QCOMPARE(place("loadBody").left(), place("stackedWidget").left());
            QCOMPARE(place("help_button").left(), place("stackedWidget").left());
            QCOMPARE(place("view_pos_label").left(), place("stackedWidget").left());
            QCOMPARE(place("body_name").right(), place("stackedWidget").right());
            QCOMPARE(place("cancel_button").right(), place("tabWidget").right());
            QCOMPARE(place("redo_button").right(), place("tabWidget").right());
            QCOMPARE(place("ok_button").top(), place("cancel_button").top());
            QCOMPARE(place("undo_button").top(), place("redo_button").top());

            tabs()->setCurrentIndex(1);
            settle();
            const QVector<const char *> pictures = {"label_3", "label_4", "label_5"};
            const QVector<const char *> presets = {
                "pushButton_due_to_body", "pushButton_due_to_room", "pushButton_due_to_room_0"};
            for (int i = 0; i < 3; ++i) {
                QCOMPARE(place(pictures.at(i)).left(), place("line_4").left());
                QCOMPARE(place(presets.at(i)).left(), place(presets.first()).left());
                QCOMPARE(place(presets.at(i)).right(), place("line_4").right());
                // A button stands in the middle of its picture's height.
                QVERIFY(std::abs(place(presets.at(i)).center().y() -
                                 place(pictures.at(i)).center().y()) <= 1);
            }
        });
    }

    void aWideWindowGivesItsRoomToTheView()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            const QSize opened = dialog()->size();
            QCOMPARE(opened, QSize(1020, 720));
            const QSize view = place("stackedWidget").size();
            for (const QSize &size : {kNarrow, kWide}) {
                dialog()->resize(size);
                QTRY_COMPARE(dialog()->size(), size);
                QCOMPARE(place("stackedWidget").size(), view + size - opened);
                QCOMPARE(canvas()->size(), place("stackedWidget").size());
                QCOMPARE(faults(dialog()).join(QLatin1Char('\n')), QString());
            }
        });
    }

    void choosingABodyMovesNothing()
    {
        fixture().session([&] {
            const QSize size = dialog()->size();
            QList<QRect> places;
            for (const int body : {DialogFixture::Wand, DialogFixture::Tube, DialogFixture::Raw}) {
                fixture().choose(body);
                deliver("1.000");
                settle();
                QList<QRect> now;
                for (const char *name : {"stackedWidget", "tabWidget", "pos_xyzWidget",
                                         "reset_view_button", "cancel_button"})
                    now.append(place(name));
                now.append(QRect(place("body_name").topRight(), QSize(1, 1)));
                if (places.isEmpty())
                    places = now;
                QCOMPARE(now, places);
                QCOMPARE(dialog()->size(), size);
            }
        });
    }

    // Pictures

    void everyPictureHasATwinOfDoubleSize_data()
    {
        QTest::addColumn<QSize>("size");
        const auto row = [](const char *path, int width, int height) {
            QTest::newRow(path) << QSize(width, height);
        };
        for (const char *icon : {":/red.png", ":/green.png", ":/grey.png"})
            row(icon, 18, 18);
        row(":/lock.png", 32, 32);
        row("://71.png", 16, 16);
        row("://72.png", 16, 16);
        for (const char *preset :
             {":/due_to_body.png", ":/due_to_room_cog.png", ":/due_to_room.png"})
            row(preset, 160, 120);
        for (const char *help : {":/panning.png", ":/rotation.png", ":/zooming.png"})
            row(help, 180, 135);
    }

    void everyPictureHasATwinOfDoubleSize()
    {
        QFETCH(QSize, size);
        const QString path = QString::fromLatin1(QTest::currentDataTag());
        const QImage picture = plain(QImage(path));
        const QImage twin = plain(QImage(finePath(path)));
        QCOMPARE(picture.size(), size);
        QCOMPARE(twin.size(), size * 2);
        // The same drawing: half of the twin is the picture but for the smoothing of edges.
        const QImage half = twin.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                                .convertToFormat(QImage::Format_ARGB32_Premultiplied);
        const QImage whole = picture.convertToFormat(QImage::Format_ARGB32_Premultiplied);
        double difference = 0.0;
        for (int y = 0; y < size.height(); ++y) {
            const auto *a = reinterpret_cast<const QRgb *>(half.constScanLine(y));
            const auto *b = reinterpret_cast<const QRgb *>(whole.constScanLine(y));
            for (int x = 0; x < size.width(); ++x)
                difference +=
                    std::abs(qGreen(a[x]) - qGreen(b[x])) + std::abs(qAlpha(a[x]) - qAlpha(b[x]));
        }
        difference /= size.width() * size.height();
        QVERIFY2(difference < 12.0, qPrintable(QString::number(difference)));
        // But not just the picture blown up: it has edges that the picture cannot have.
        const QImage blownUp =
            picture.scaled(size * 2, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        QVERIFY(plain(blownUp) != twin);
        QVERIFY(plain(picture.scaled(size * 2)) != twin);
    }

    void picturesAreShownWithTheScreensPixels()
    {
        const auto check = [](const QLabel *label, const char *path, const QSize &size) {
            const qreal ratio = label->devicePixelRatioF();
            const QPixmap shown = label->pixmap(Qt::ReturnByValue);
            QCOMPARE(shown.devicePixelRatio(), ratio);
            QCOMPARE(shown.size(), (QSizeF(size) * ratio).toSize());
            const QString name = QString::fromLatin1(path);
            if (qFuzzyCompare(ratio, 1.0) || qFuzzyCompare(ratio, 2.0)) {
                const QImage wanted = plain(QPixmap(ratio > 1.5 ? finePath(name) : name).toImage());
                QCOMPARE(plain(shown.toImage()), wanted);
                QVERIFY2(shows(plain(const_cast<QLabel *>(label)->grab().toImage()), wanted), path);
            }
        };
        fixture().session([&] {
            expectedRatioIsThere();
            const QSize iconSize(18, 18);
            auto *icon = fixture().child<QLabel>("body_icon");
            QVERIFY(icon->pixmap(Qt::ReturnByValue).isNull());
            fixture().choose(DialogFixture::Wand);
            deliver("1.000");
            QTRY_VERIFY(!icon->pixmap(Qt::ReturnByValue).isNull());
            check(icon, ":/green.png", iconSize);
            deliver("-1.000");
            check(icon, ":/red.png", iconSize);
            fixture().choose(DialogFixture::Raw);
            check(icon, ":/grey.png", iconSize);
            fixture().choose(DialogFixture::Wand);

            const QSize presetSize(160, 120);
            tabs()->setCurrentIndex(1);
            settle();
            check(fixture().child<QLabel>("label_3"), ":/due_to_body.png", presetSize);
            check(fixture().child<QLabel>("label_4"), ":/due_to_room_cog.png", presetSize);
            check(fixture().child<QLabel>("label_5"), ":/due_to_room.png", presetSize);

            HelpDialog help(dialog());
            help.show();
            QVERIFY(QTest::qWaitForWindowExposed(&help));
            const QSize helpSize(180, 135);
            check(help.findChild<QLabel *>(QStringLiteral("label_5")), ":/panning.png", helpSize);
            check(help.findChild<QLabel *>(QStringLiteral("label_3")), ":/rotation.png", helpSize);
            check(help.findChild<QLabel *>(QStringLiteral("label_7")), ":/zooming.png", helpSize);
        });
    }

    void buttonIconsAreShownWithTheScreensPixels_data()
    {
        QTest::addColumn<bool>("fineIcons");
        QTest::newRow("host as it comes") << false;
        QTest::newRow("host with fine icons") << true;
    }

    void buttonIconsAreShownWithTheScreensPixels()
    {
        QFETCH(bool, fineIcons);
        QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps, fineIcons);
        const auto restore =
            qScopeGuard([] { QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps, false); });
        fixture().session([&] {
            expectedRatioIsThere();
            const QVector<QPair<const char *, QString>> icons = {
                {"undo_button", QStringLiteral("://72.png")},
                {"redo_button", QStringLiteral("://71.png")}};
            for (const auto &icon : icons) {
                auto *button = fixture().child<QPushButton>(icon.first);
                const qreal ratio = button->devicePixelRatioF();
                const QImage greyed = plain(button->grab().toImage());
                QVERIFY(!button->isEnabled());
                if (!qFuzzyCompare(ratio, 1.0) && !qFuzzyCompare(ratio, 2.0))
                    continue;
                const QImage wanted =
                    plain(QImage(ratio > 1.5 ? finePath(icon.second) : icon.second));
                QVERIFY2(!shows(greyed, wanted), icon.first);
                button->setEnabled(true);
                QVERIFY2(shows(plain(button->grab().toImage()), wanted), icon.first);
                // It takes no more room than it does elsewhere.
                QVERIFY(place(icon.first).width() <= 120);
                QCOMPARE(QCoreApplication::testAttribute(Qt::AA_UseHighDpiPixmaps), fineIcons);
            }
        });
    }

    void picturesAndIconsAreFineOnAFineDisplay_data()
    {
        QTest::addColumn<QString>("scale");
        QTest::newRow("150%") << QStringLiteral("1.5");
        QTest::newRow("200%") << QStringLiteral("2");
    }

    void picturesAndIconsAreFineOnAFineDisplay()
    {
        QFETCH(QString, scale);
        runScaled(scale, {QStringLiteral("picturesAreShownWithTheScreensPixels"),
                          QStringLiteral("buttonIconsAreShownWithTheScreensPixels")});
    }

    // Light and dark

    void statusIconsAreLegibleOnLightAndDark_data()
    {
        QTest::addColumn<QString>("path");
        for (const char *path : {":/red.png", ":/green.png", ":/grey.png"}) {
            QTest::newRow(path) << QString::fromLatin1(path);
            QTest::newRow(qPrintable(finePath(QString::fromLatin1(path))))
                << finePath(QString::fromLatin1(path));
        }
    }

    void statusIconsAreLegibleOnLightAndDark()
    {
        QFETCH(QString, path);
        const QImage picture = plain(QImage(path));
        const QRgb white = qRgb(255, 255, 255);
        QVector<QRgb> sign;
        QVector<QRgb> disc;
        QVector<QRgb> rim;
        const QPointF middle((picture.width() - 1) / 2.0, (picture.height() - 1) / 2.0);
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = 0; x < picture.width(); ++x) {
                const QRgb pixel = picture.pixel(x, y);
                const double radius = QLineF(middle, QPointF(x, y)).length() / picture.width();
                if (qAlpha(pixel) < 250)
                    continue;
                if (contrast(pixel, white) < 1.1)
                    sign.append(pixel);
                else if (radius > 0.42)
                    rim.append(pixel);
                else if (radius > 0.36 || contrast(pixel, white) > 2.0)
                    disc.append(pixel);
            }
        }
        const auto median = [](QVector<QRgb> pixels) {
            std::sort(pixels.begin(), pixels.end(),
                      [](QRgb a, QRgb b) { return luminance(a) < luminance(b); });
            return pixels.at(pixels.size() / 2);
        };
        // A sign that is seen, on a disc that it stands out from.
        const int area = picture.width() * picture.height();
        QVERIFY(sign.size() > area / 40);
        QVERIFY(disc.size() > area / 4);
        QVERIFY2(contrast(median(disc), white) >= 3.0,
                 qPrintable(QString::number(contrast(median(disc), white))));
        // A disc, or at least its rim, that stands out from the window.
        for (const QRgb ground : {white, qRgb(239, 239, 239), qRgb(53, 53, 53), qRgb(30, 30, 30)}) {
            const double most =
                std::max(contrast(median(disc), ground), contrast(median(rim), ground));
            QVERIFY2(most >= 3.0, qPrintable(QColor(ground).name() + QString::number(most)));
        }
    }

    void statusIconsDifferInMoreThanTheirColour()
    {
        QVector<QVector<bool>> signs;
        for (const char *path : {":/red.png", ":/green.png", ":/grey.png"}) {
            const QImage picture = plain(QImage(QString::fromLatin1(path)));
            QVector<bool> sign;
            for (int y = 0; y < picture.height(); ++y) {
                for (int x = 0; x < picture.width(); ++x)
                    sign.append(contrast(picture.pixel(x, y), qRgb(255, 255, 255)) < 1.5 &&
                                qAlpha(picture.pixel(x, y)) > 250);
            }
            for (const QVector<bool> &other : signs) {
                int different = 0;
                for (int i = 0; i < sign.size(); ++i)
                    different += sign.at(i) != other.at(i);
                QVERIFY(different > 10);
            }
            signs.append(sign);
        }
    }

    void buttonIconsAndTheLockAreLegibleOnLightAndDark_data()
    {
        QTest::addColumn<QString>("path");
        for (const char *path : {"://71.png", "://72.png", ":/lock.png", "://71@2x.png",
                                 "://72@2x.png", ":/lock@2x.png"})
            QTest::newRow(path) << QString::fromLatin1(path);
    }

    void buttonIconsAndTheLockAreLegibleOnLightAndDark()
    {
        QFETCH(QString, path);
        const QImage picture = plain(QImage(path));
        for (const QRgb ground : {qRgb(255, 255, 255), qRgb(239, 239, 239), qRgb(53, 53, 53)}) {
            // In nearly every row that the drawing takes some pixels must stand out; a light or
            // dark outline may do so on one ground only.
            int rows = 0;
            int legible = 0;
            for (int y = 0; y < picture.height(); ++y) {
                bool drawn = false;
                bool standsOut = false;
                for (int x = 0; x < picture.width(); ++x) {
                    if (qAlpha(picture.pixel(x, y)) < 200)
                        continue;
                    drawn = true;
                    standsOut = standsOut || contrast(picture.pixel(x, y), ground) >= 3.0;
                }
                rows += drawn;
                legible += standsOut;
            }
            QVERIFY(rows > picture.height() / 2);
            QVERIFY2(legible >= rows * 0.85,
                     qPrintable(QStringLiteral("%1 of %2").arg(legible).arg(rows)));
        }
    }

    void presetAndHelpPicturesStandOutFromTheirOwnGround_data()
    {
        QTest::addColumn<QString>("path");
        for (const char *path : {":/due_to_body.png", ":/due_to_room_cog.png", ":/due_to_room.png",
                                 ":/panning.png", ":/rotation.png", ":/zooming.png"})
            QTest::newRow(path) << QString::fromLatin1(path);
    }

    void presetAndHelpPicturesStandOutFromTheirOwnGround()
    {
        QFETCH(QString, path);
        const QImage picture = plain(QImage(path));
        // They bring a ground of their own, alike on every window.
        int opaque = 0;
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = 0; x < picture.width(); ++x)
                opaque += qAlpha(picture.pixel(x, y)) == 255;
        }
        const int area = picture.width() * picture.height();
        QVERIFY(opaque > area * 0.97);
        // It is lightest at the top.
        const QRgb ground = picture.pixel(picture.width() / 2, 3);
        QVERIFY(luminance(ground) < 0.1);
        int legible = 0;
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = 0; x < picture.width(); ++x)
                legible += contrast(picture.pixel(x, y), ground) >= 4.5;
        }
        QVERIFY2(legible > area / 50, qPrintable(QString::number(double(legible) / area)));
    }

    void labelsOfAxesAreLegibleOnADarkWindow()
    {
        const QPalette usual = QApplication::palette();
        const auto restore = qScopeGuard([usual] { QApplication::setPalette(usual); });
        const auto contrasts = [this](const char *group) {
            QVector<double> list;
            for (auto *component :
                 fixture().child<QWidget>(group)->findChildren<bsDoubleWidget *>()) {
                auto *label = component->findChild<QLabel *>();
                const QRgb colour = label->palette().color(QPalette::WindowText).rgb();
                // The text's own ground: what is most of the field behind it.
                const QImage grabbed = plain(label->grab().toImage());
                const QRect field(0, 0, label->fontMetrics().horizontalAdvance(label->text()),
                                  grabbed.height());
                QHash<QRgb, int> colours;
                bool written = false;
                for (int y = 0; y < grabbed.height(); ++y) {
                    for (int x = 0; x < field.width(); ++x) {
                        ++colours[grabbed.pixel(x, y)];
                        const QColor seen(grabbed.pixel(x, y));
                        const QColor ink(colour);
                        // Strokes are thinner than a pixel.
                        written = written || std::abs(seen.red() - ink.red()) +
                                                     std::abs(seen.green() - ink.green()) +
                                                     std::abs(seen.blue() - ink.blue()) <
                                                 120;
                    }
                }
                const QRgb ground =
                    std::max_element(colours.cbegin(), colours.cend(), [](int a, int b) {
                        return a < b;
                    }).key();
                list.append(written ? contrast(colour, ground) : 0.0);
            }
            return list;
        };
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            for (const char *group : {"body_pos_xyzWidget", "ori_xyzWidget"}) {
                QApplication::setPalette(usual);
                settle();
                const QVector<double> light = contrasts(group);
                QApplication::setPalette(darkPalette());
                settle();
                const QVector<double> dark = contrasts(group);
                QCOMPARE(dark.size(), 3);
                for (const int axis : {0, 2}) {
                    QVERIFY2(light.at(axis) >= 4.5, qPrintable(QString::number(light.at(axis))));
                    QVERIFY2(dark.at(axis) >= 4.5, qPrintable(QString::number(dark.at(axis))));
                }
                // The green is as bright as it is; it loses nothing.
                QVERIFY2(dark.at(1) >= light.at(1) * 0.9, qPrintable(QString::number(dark.at(1))));
                QCOMPARE(faults(dialog()).join(QLatin1Char('\n')), QString());
            }
        });
    }
};

QUOREL2_TEST_MAIN(tst_DialogLook)
#include "tst_DialogLook.moc"
