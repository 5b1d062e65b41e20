#include "FormChecks.h"

#include "ui_BodyAdjustmentDialogClass.h"

#include <tests/support/Contrast.h>
#include <tests/support/TestMain.h>
#include <widgets/SharpPictures.h>
#include <widgets/WidgetResources.h>
#include <widgets/bsDoubleWidget.h>
#include <widgets/xyzWidget.h>

#include <QDialog>
#include <QFile>
#include <QImage>
#include <QScopedPointer>
#include <QTemporaryDir>
#include <QWindow>
#include <QtTest>

#include <algorithm>
#include <cmath>

namespace {

struct Entry {
    const char *name;
    const char *className;
    const char *text;
    const char *whatsThis;
    const char *toolTip;
    const char *shortcut;
    const char *icon;
};

/// Everything that the form names, in the order in which it stands in the dialog.
const Entry entries[] = {
    {"loadBody", "QLabel", "Bod&y", "Select body", "", "", ""},
    {"body_icon", "QLabel", "", "", "", "", ""},
    {"body_name", "QComboBox", "", "Select body (standard bodies, vimbars)", "Select body", "", ""},
    {"stackedWidget", "QStackedWidget", "", "Select body (standard bodies, vimbars)", "", "", ""},
    {"page_1", "QWidget", "", "Graphic view of the current body", "", "", ""},
    {"page_2", "QWidget", "", "Data view of the current body", "", "", ""},
    {"tabWidget", "QTabWidget", "", "Body coordinate adjustment", "", "", ""},
    {"tab", "QWidget", "", "", "", "", ""},
    {"tab_2", "QWidget", "", "", "", "", ""},
    {"tab_3", "QWidget", "", "", "", "", ""},
    {"label", "QLabel", "Body position", "", "", "", ""},
    {"body_pos_xyzWidget", "xyzWidget", "", "Change the body coordinate system in three directions",
     "", "", ""},
    {"line_2", "QFrame", "", "", "", "", ""},
    {"label_2", "QLabel", "Body orientation", "", "", "", ""},
    {"body_ori_xyzWidget", "xyzWidget", "",
     "Change the body coordinate system by rotating around three axes", "", "", ""},
    {"line_3", "QFrame", "", "", "", "", ""},
    {"label_12", "QLabel", "", "", "", "", ""},
    {"set_origin_button", "QPushButton", "Set &origin",
     "Set the chosen marker as the origin of the body coordinate system", "", "Alt+O", ""},
    {"set_origin_cog_button", "QPushButton", "S&et origin to COG",
     "Set origin to Center Of Gravity of the body, without changing orientation", "", "Alt+E", ""},
    {"set_axis_button", "QPushButton", "Set a&xis",
     "Set the two chosen markers as one axis (from white marker to grey marker) of the body "
     "coordinate system",
     "", "Alt+X", ""},
    {"adjust_axes_to_room_button", "QPushButton", "Ad&just axes to room",
     "Set the orientation of the body coordinate system as the same as the room coordinate system",
     "", "Alt+J", ""},
    {"pushButton_deleteMarker", "QPushButton", "Delete marker", "Delete selected marker", "", "",
     ""},
    {"label_6", "QLabel", "", "", "", "", ""},
    {"label_3", "QLabel", "", "", "", "", ""},
    {"label_7", "QLabel", "", "", "", "", ""},
    {"pushButton_due_to_body", "QPushButton", "Due to &body",
     "<html><head/><body><p>Change the body coordinate system as the image shows. The origin and "
     "orientation fulfill the definition of calibration type of &quot;Due to "
     "body&quot;</p></body></html>",
     "", "Alt+B", ""},
    {"line_4", "QFrame", "", "", "", "", ""},
    {"label_8", "QLabel", "", "", "", "", ""},
    {"label_4", "QLabel", "", "", "", "", ""},
    {"label_9", "QLabel", "", "", "", "", ""},
    {"pushButton_due_to_room", "QPushButton", "Due to room\n(origin in &COG)",
     "<html><head/><body><p>Set the origin of the body coordinate system in the Center Of Gravity "
     "of the body, orientate the coordinate system as the same as the orientation of room "
     "coordinate system</p></body></html>",
     "", "Alt+C", ""},
    {"line_5", "QFrame", "", "", "", "", ""},
    {"label_10", "QLabel", "", "", "", "", ""},
    {"label_5", "QLabel", "", "", "", "", ""},
    {"label_11", "QLabel", "", "", "", "", ""},
    {"pushButton_due_to_room_0", "QPushButton", "Due to room\n(origin in &marker)",
     "<html><head/><body><p>Set the origin of the body coordinate system in Marker #1, orientate "
     "the orientation the same as the room coordinate system</p></body></html>",
     "", "Alt+M", ""},
    {"label_15", "QLabel", "emissions", "", "", "", ""},
    {"line_6", "QFrame", "", "", "", "", ""},
    {"label_unitVector", "QLabel", "unit vector", "", "", "", ""},
    {"label_ex_1", "QLabel",
     "<html><head/><body><p><span style=\" font-size:8pt; "
     "color:#ff0000;\">px</span></p></body></html>",
     "", "", "", ""},
    {"doubleSpinBox_ex", "ValueSpinBox", "", "", "", "", ""},
    {"label_ey_1", "QLabel",
     "<html><head/><body><p><span style=\" font-size:8pt; "
     "color:#00aa00;\">py</span></p></body></html>",
     "", "", "", ""},
    {"doubleSpinBox_ey", "ValueSpinBox", "", "", "", "", ""},
    {"label_ez_1", "QLabel",
     "<html><head/><body><p><span style=\" font-size:8pt; "
     "color:#0000ff;\">pz</span></p></body></html>",
     "", "", "", ""},
    {"doubleSpinBox_ez", "ValueSpinBox", "", "", "", "", ""},
    {"label_normalized", "QLabel", "normalized:", "", "", "", ""},
    {"label_ex_2", "QLabel",
     "<html><head/><body><p><span style=\" font-size:8pt; "
     "color:#ff0000;\">ex</span></p></body></html>",
     "", "", "", ""},
    {"label_ex", "QLabel", "1.00", "", "", "", ""},
    {"label_ey_2", "QLabel",
     "<html><head/><body><p><span style=\" font-size:8pt; "
     "color:#00aa00;\">ey</span></p></body></html>",
     "", "", "", ""},
    {"label_ey", "QLabel", "1.00", "", "", "", ""},
    {"label_ez_2", "QLabel",
     "<html><head/><body><p><span style=\" font-size:8pt; "
     "color:#0000ff;\">ez</span></p></body></html>",
     "", "", "", ""},
    {"label_ez", "QLabel", "1.00", "", "", "", ""},
    {"line_7", "QFrame", "", "", "", "", ""},
    {"label_openingAngle", "QLabel", "opening angle", "", "", "", ""},
    {"label_alpha", "QLabel", "alpha [deg]", "", "", "", ""},
    {"doubleSpinBox_alpha", "ValueSpinBox", "", "", "", "", ""},
    {"view_pos_label", "QLabel", "View position", "", "", "", ""},
    {"pos_xyzWidget", "xyzWidget", "", "Change the position of viewing the body", "", "", ""},
    {"view_ori_label", "QLabel", "View orientation", "", "", "", ""},
    {"ori_xyzWidget", "xyzWidget", "", "Change the orientation of viewing  the body", "", "", ""},
    {"label_13", "QLabel", "", "", "", "", ""},
    {"reset_view_button", "QPushButton", "Reset &view",
     "Set default value for the viewing of body ", "", "Alt+V", ""},
    {"online_checkbox", "QCheckBox", "use &tracked orientation",
     "Use the information of tracked orientation", "", "Alt+T", ""},
    {"label_14", "QLabel", "", "", "", "", ""},
    {"undo_button", "QPushButton", "&Undo",
     "Undo the last modification of the current body coodinate system", "", "Alt+U", "://72.png"},
    {"redo_button", "QPushButton", "&Redo",
     "Redo the next body coodinate modification for current body", "", "Alt+R", "://71.png"},
    {"line", "QFrame", "", "", "", "", ""},
    {"help_button", "QPushButton", "&Help", "Help for graphic view control", "", "Alt+H", ""},
    {"ok_button", "QPushButton", "OK", "Save the changes and close the dialog", "", "", ""},
    {"apply_button", "QPushButton", "&Apply", "Apply the modification for current body", "",
     "Alt+A", ""},
    {"cancel_button", "QPushButton", "Cancel", "Close the dialog", "", "", ""},
    {"error_label", "QLabel", "", "", "", "", ""},
};

} // namespace

class tst_BodyAdjustmentForm : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void windowIsAsStated();
    void objectIsAsStated_data();
    void objectIsAsStated();
    void nothingIsNamedTwice();
    void childrenAreCreatedInTheirOrder();
    void layoutsHoldWhatTheyAreNamedFor_data();
    void layoutsHoldWhatTheyAreNamedFor();
    void pagesAndTabsAreInOrder();
    void threeAxisWidgetsAreLabelled_data();
    void threeAxisWidgetsAreLabelled();
    void presetsShowTheirPictures_data();
    void presetsShowTheirPictures();
    void emissionFieldsTakeWhatIsNeeded();
    void labelsHaveTheirBuddies();
    void textsAreTranslatedInTheFormsContext();

    void noButtonIsEverTheDefault();
    void returnInAFieldPressesNothing();
    void cancelRejects();
    void mnemonicsOfTheTabsWork();
    void tabRunsInReadingOrder();
    void controlsWithoutATextHaveNames();
    void theBodyListTakesNoFocusFromTheWheel();

    void sizesAreSensible();
    void theViewTakesTheRoomThatIsAdded();
    void theTabsStandRightOfTheViewAndTheControlsBelow();
    void messagesChangeNothingInTheLayout();
    void noTextIsClipped_data();
    void noTextIsClipped();

    void picturesAreThere_data();
    void picturesAreThere();
    void pictureWithTooFewPixelsGivesWayToItsFinerVariant_data();
    void pictureWithTooFewPixelsGivesWayToItsFinerVariant();
    void anotherPictureTakesThePlaceOfTheFirst();
    void buttonIconsAreLegibleOnLightAndDark_data();
    void buttonIconsAreLegibleOnLightAndDark();

private:
    void build();
    void show()
    {
        m_dialog->show();
        m_dialog->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(m_dialog.data()));
    }
    /// The name of @p widget or of the nearest ancestor that the form has named.
    QString formName(const QWidget *widget) const;
    QRect place(const QWidget *widget) const
    {
        return {widget->mapTo(m_dialog.data(), QPoint()), widget->size()};
    }

    QScopedPointer<QDialog> m_dialog;
    Ui::BodyAdjustmentDialogClass m_form;
};

void tst_BodyAdjustmentForm::init()
{
    build();
}

void tst_BodyAdjustmentForm::cleanup()
{
    m_dialog.reset();
}

void tst_BodyAdjustmentForm::build()
{
    initWidgetResources();
    m_dialog.reset(new QDialog);
    m_form.setupUi(m_dialog.data());
    // The fields as the dialog uses them: numbers for the body, wheels for the view.
    m_form.body_pos_xyzWidget->setMode(SpinBoxOnly);
    m_form.body_ori_xyzWidget->setMode(SpinBoxOnly);
}

QString tst_BodyAdjustmentForm::formName(const QWidget *widget) const
{
    for (; widget; widget = widget->parentWidget()) {
        const QString name = widget->objectName();
        const auto named = [&name](const Entry &entry) {
            return name == QLatin1String(entry.name);
        };
        if (std::any_of(std::begin(entries), std::end(entries), named))
            return name;
    }
    return QString();
}

void tst_BodyAdjustmentForm::windowIsAsStated()
{
    QCOMPARE(m_dialog->objectName(), QStringLiteral("BodyAdjustmentDialogClass"));
    QCOMPARE(m_dialog->windowTitle(), QStringLiteral("Body Adjustment"));
    QCOMPARE(m_dialog->whatsThis(), QStringLiteral("Body Adjustment"));
    QCOMPARE(m_dialog->layout()->objectName(), QStringLiteral("gridLayout"));
}

void tst_BodyAdjustmentForm::objectIsAsStated_data()
{
    QTest::addColumn<int>("index");
    for (int i = 0; i < int(std::size(entries)); ++i)
        QTest::newRow(entries[i].name) << i;
}

void tst_BodyAdjustmentForm::objectIsAsStated()
{
    QFETCH(int, index);
    const Entry &entry = entries[index];
    const auto *widget = m_dialog->findChild<QWidget *>(QString::fromLatin1(entry.name));
    QVERIFY(widget);
    QCOMPARE(QByteArray(widget->metaObject()->className()), QByteArray(entry.className));
    // The text of a field is its value.
    if (!widget->inherits("QDoubleSpinBox"))
        QCOMPARE(widget->property("text").toString(), QString::fromLatin1(entry.text));
    QCOMPARE(widget->whatsThis(), QString::fromLatin1(entry.whatsThis));
    QCOMPARE(widget->toolTip(), QString::fromLatin1(entry.toolTip));
    if (const auto *button = qobject_cast<const QAbstractButton *>(widget)) {
        QCOMPARE(button->shortcut(), QKeySequence(QString::fromLatin1(entry.shortcut)));
        QCOMPARE(button->icon().isNull(), *entry.icon == '\0');
        if (*entry.icon)
            QCOMPARE(button->icon().pixmap(16, 16).toImage(),
                     QPixmap(QString::fromLatin1(entry.icon)).toImage());
    }
}

void tst_BodyAdjustmentForm::nothingIsNamedTwice()
{
    for (const Entry &entry : entries)
        QCOMPARE(m_dialog->findChildren<QWidget *>(QString::fromLatin1(entry.name)).size(), 1);
}

void tst_BodyAdjustmentForm::childrenAreCreatedInTheirOrder()
{
    // The line for messages is made where it stands, in the middle of the bottom row.
    const QString exception = QStringLiteral("error_label");
    QVector<const QWidget *> parents;
    QHash<const QWidget *, QStringList> expected;
    for (const Entry &entry : entries) {
        const QString name = QString::fromLatin1(entry.name);
        const auto *widget = m_dialog->findChild<QWidget *>(name);
        if (name == exception)
            continue;
        if (!expected.contains(widget->parentWidget()))
            parents.append(widget->parentWidget());
        expected[widget->parentWidget()].append(name);
    }
    QVERIFY(parents.size() >= 5);
    for (const QWidget *parent : parents) {
        // A stack changes the order of its pages; pagesAndTabsAreInOrder() looks at them.
        if (qobject_cast<const QStackedWidget *>(parent))
            continue;
        QStringList created;
        for (const QObject *child : parent->children()) {
            if (expected.value(parent).contains(child->objectName()))
                created.append(child->objectName());
        }
        QCOMPARE(created, expected.value(parent));
    }
}

void tst_BodyAdjustmentForm::layoutsHoldWhatTheyAreNamedFor_data()
{
    QTest::addColumn<QStringList>("members");
    const auto row = [](const char *layout, const char *members) {
        QTest::newRow(layout) << QString::fromLatin1(members).split(QLatin1Char(' '));
    };
    row("gridLayout", "horizontalLayout_3 stackedWidget tabWidget horizontalLayout_8 "
                      "verticalLayout_8");
    row("horizontalLayout_3", "loadBody body_icon body_name");
    row("gridLayout_3", "label_ex_1 doubleSpinBox_ex label_ey_1 doubleSpinBox_ey label_ez_1 "
                        "doubleSpinBox_ez");
    row("gridLayout_7", "label_ex_2 label_ex label_ey_2 label_ey label_ez_2 label_ez");
    row("verticalLayout_10", "label_openingAngle gridLayout_6");
    row("gridLayout_6", "label_alpha doubleSpinBox_alpha");
    row("horizontalLayout_8", "verticalLayout_5 verticalLayout_6");
    row("verticalLayout_5", "view_pos_label pos_xyzWidget");
    row("verticalLayout_6", "view_ori_label ori_xyzWidget");
    row("horizontalLayout_4", "reset_view_button online_checkbox");
    row("horizontalLayout_2", "label_14 undo_button redo_button");
    row("verticalLayout_8", "line horizontalLayout");
    row("horizontalLayout", "help_button ok_button apply_button cancel_button");
}

void tst_BodyAdjustmentForm::layoutsHoldWhatTheyAreNamedFor()
{
    QFETCH(QStringList, members);
    const auto *layout =
        m_dialog->findChild<QLayout *>(QString::fromLatin1(QTest::currentDataTag()));
    QVERIFY(layout);
    QStringList names;
    for (int i = 0; i < layout->count(); ++i) {
        QLayoutItem *item = layout->itemAt(i);
        const QString name = item->widget()   ? item->widget()->objectName()
                             : item->layout() ? item->layout()->objectName()
                                              : QString();
        if (members.contains(name))
            names += name;
    }
    QCOMPARE(names, members);
}

void tst_BodyAdjustmentForm::pagesAndTabsAreInOrder()
{
    QCOMPARE(m_form.stackedWidget->count(), 2);
    QCOMPARE(m_form.stackedWidget->widget(0), m_form.page_1);
    QCOMPARE(m_form.stackedWidget->widget(1), m_form.page_2);
    QCOMPARE(m_form.tabWidget->count(), 3);
    QCOMPARE(m_form.tabWidget->widget(0), m_form.tab);
    QCOMPARE(m_form.tabWidget->widget(1), m_form.tab_2);
    QCOMPARE(m_form.tabWidget->widget(2), m_form.tab_3);
    QCOMPARE(m_form.tabWidget->tabText(0), QStringLiteral("&General"));
    QCOMPARE(m_form.tabWidget->tabText(1), QStringLiteral("&Special"));
    QCOMPARE(m_form.tabWidget->tabText(2), QStringLiteral("&Em"));
    QCOMPARE(m_form.tabWidget->currentIndex(), 0);
}

void tst_BodyAdjustmentForm::threeAxisWidgetsAreLabelled_data()
{
    QTest::addColumn<QStringList>("labels");
    QTest::addColumn<bool>("horizontal");
    QTest::addColumn<QVariant>("label");
    const auto row = [](const char *name, const char *labels, bool horizontal,
                        const QVariant &label) {
        QTest::newRow(name) << QString::fromLatin1(labels).split(QLatin1Char('|')) << horizontal
                            << label;
    };
    row("body_pos_xyzWidget", "x [mm]|y [mm]|z [mm]", false, QVariant());
    row("body_ori_xyzWidget", "x [deg]|y [deg]|z [deg]", false, QVariant());
    row("pos_xyzWidget", "x:|y:|z:", true, QStringLiteral("X:"));
    row("ori_xyzWidget", "x:|y:|z:", true, QStringLiteral("Y:"));
}

void tst_BodyAdjustmentForm::threeAxisWidgetsAreLabelled()
{
    QFETCH(QStringList, labels);
    QFETCH(bool, horizontal);
    QFETCH(QVariant, label);
    const auto *widget =
        m_dialog->findChild<xyzWidget *>(QString::fromLatin1(QTest::currentDataTag()));
    QVERIFY(widget);
    QCOMPARE(QStringList({widget->xLabel(), widget->yLabel(), widget->zLabel()}), labels);
    QCOMPARE(widget->isHorizontal(), horizontal);
    QCOMPARE(widget->property("label"), label);
}

void tst_BodyAdjustmentForm::presetsShowTheirPictures_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("label_3") << QStringLiteral(":/due_to_body.png");
    QTest::newRow("label_4") << QStringLiteral(":/due_to_room_cog.png");
    QTest::newRow("label_5") << QStringLiteral(":/due_to_room.png");
}

void tst_BodyAdjustmentForm::presetsShowTheirPictures()
{
    QFETCH(QString, path);
    const auto *label = m_dialog->findChild<QLabel *>(QString::fromLatin1(QTest::currentDataTag()));
    QVERIFY(!label->pixmap(Qt::ReturnByValue).isNull());
    QCOMPARE(label->pixmap(Qt::ReturnByValue).toImage(), QPixmap(path).toImage());
}

void tst_BodyAdjustmentForm::emissionFieldsTakeWhatIsNeeded()
{
    for (QDoubleSpinBox *box :
         {m_form.doubleSpinBox_ex, m_form.doubleSpinBox_ey, m_form.doubleSpinBox_ez}) {
        QCOMPARE(box->value(), 0.0);
        for (const double value : {2.0, -1.0, 0.577, -1000.0, 1000.0}) {
            box->setValue(value);
            QCOMPARE(box->value(), value);
        }
        QCOMPARE(box->singleStep(), 0.1);
        QCOMPARE(box->decimals(), 3);
    }
    for (const double value : {0.0, 180.0, 67.25}) {
        m_form.doubleSpinBox_alpha->setValue(value);
        QCOMPARE(m_form.doubleSpinBox_alpha->value(), value);
    }
    QCOMPARE(m_form.doubleSpinBox_alpha->decimals(), 2);
    for (const double value : {-0.01, 180.01}) {
        m_form.doubleSpinBox_alpha->setValue(value);
        QVERIFY(!qFuzzyCompare(m_form.doubleSpinBox_alpha->value() + 1000.0, value + 1000.0));
    }
}

void tst_BodyAdjustmentForm::labelsHaveTheirBuddies()
{
    QCOMPARE(m_form.loadBody->buddy(), m_form.body_name);
    QCOMPARE(m_form.label_alpha->buddy(), m_form.doubleSpinBox_alpha);
    show();
    QTest::keyClick(m_dialog->windowHandle(), Qt::Key_Y, Qt::AltModifier);
    QTRY_VERIFY(m_form.body_name->hasFocus());
}

void tst_BodyAdjustmentForm::textsAreTranslatedInTheFormsContext()
{
    MarkingTranslator translator("BodyAdjustmentDialogClass");
    const InstalledTranslator installed(&translator);
    build();
    QCOMPARE(m_dialog->windowTitle(), QStringLiteral("*Body Adjustment"));
    for (const Entry &entry : entries) {
        const auto *widget = m_dialog->findChild<QWidget *>(QString::fromLatin1(entry.name));
        if (*entry.text)
            QCOMPARE(widget->property("text").toString(),
                     QLatin1Char('*') + QString::fromLatin1(entry.text));
        if (*entry.whatsThis)
            QCOMPARE(widget->whatsThis(), QLatin1Char('*') + QString::fromLatin1(entry.whatsThis));
        if (*entry.toolTip)
            QCOMPARE(widget->toolTip(), QLatin1Char('*') + QString::fromLatin1(entry.toolTip));
    }
    QCOMPARE(m_form.tabWidget->tabText(1), QStringLiteral("*&Special"));
    QCOMPARE(m_form.body_pos_xyzWidget->xLabel(), QStringLiteral("*x [mm]"));
    QCOMPARE(m_form.ori_xyzWidget->zLabel(), QStringLiteral("*z:"));
}

void tst_BodyAdjustmentForm::noButtonIsEverTheDefault()
{
    const QList<QPushButton *> buttons = m_dialog->findChildren<QPushButton *>();
    QCOMPARE(buttons.size(), 15);
    const auto none = [&buttons] {
        return std::none_of(buttons.cbegin(), buttons.cend(), [](const QPushButton *button) {
            return button->autoDefault() || button->isDefault();
        });
    };
    QVERIFY(none());
    show();
    QVERIFY(none());
    m_form.ok_button->setFocus();
    QVERIFY(none());
}

void tst_BodyAdjustmentForm::returnInAFieldPressesNothing()
{
    int pressed = 0;
    for (const QAbstractButton *button : m_dialog->findChildren<QAbstractButton *>())
        connect(button, &QAbstractButton::pressed, this, [&pressed] { ++pressed; });
    show();
    int fields = 0;
    for (int tab = 0; tab < 3; ++tab) {
        m_form.tabWidget->setCurrentIndex(tab);
        for (QWidget *widget : m_dialog->findChildren<QWidget *>()) {
            if (!widget->isVisible() || widget->focusPolicy() == Qt::NoFocus ||
                qobject_cast<QAbstractButton *>(widget))
                continue;
            widget->setFocus();
            QTest::keyClick(widget, Qt::Key_Return);
            QTest::keyClick(widget, Qt::Key_Enter);
            QVERIFY2(m_dialog->isVisible(), qPrintable(formName(widget)));
            QCOMPARE(pressed, 0);
            ++fields;
        }
    }
    // At least the body list, the tabs, the six fields of the body and the four of the emissions.
    QVERIFY(fields >= 12);
}

void tst_BodyAdjustmentForm::cancelRejects()
{
    show();
    QSignalSpy rejected(m_dialog.data(), &QDialog::rejected);
    QTest::mouseClick(m_form.cancel_button, Qt::LeftButton);
    QCOMPARE(rejected.count(), 1);
    QVERIFY(!m_dialog->isVisible());
}

void tst_BodyAdjustmentForm::mnemonicsOfTheTabsWork()
{
    show();
    QTest::keyClick(m_dialog->windowHandle(), Qt::Key_S, Qt::AltModifier);
    QTRY_COMPARE(m_form.tabWidget->currentIndex(), 1);
    QTest::keyClick(m_dialog->windowHandle(), Qt::Key_G, Qt::AltModifier);
    QTRY_COMPARE(m_form.tabWidget->currentIndex(), 0);
}

void tst_BodyAdjustmentForm::tabRunsInReadingOrder()
{
    const QString general = QStringLiteral(
        "body_name tabWidget body_pos_xyzWidget body_ori_xyzWidget set_origin_button "
        "set_origin_cog_button set_axis_button adjust_axes_to_room_button "
        "pushButton_deleteMarker pos_xyzWidget ori_xyzWidget reset_view_button online_checkbox "
        "undo_button redo_button help_button ok_button apply_button cancel_button");
    const QString special = QStringLiteral(
        "body_name tabWidget pushButton_due_to_body pushButton_due_to_room "
        "pushButton_due_to_room_0 pos_xyzWidget ori_xyzWidget reset_view_button online_checkbox "
        "undo_button redo_button help_button ok_button apply_button cancel_button");
    const QString emissions = QStringLiteral(
        "body_name tabWidget doubleSpinBox_ex doubleSpinBox_ey doubleSpinBox_ez "
        "doubleSpinBox_alpha pos_xyzWidget ori_xyzWidget reset_view_button online_checkbox "
        "undo_button redo_button help_button ok_button apply_button cancel_button");
    show();
    int tab = 0;
    for (const QString &expected : {general, special, emissions}) {
        m_form.tabWidget->setCurrentIndex(tab++);
        m_form.body_name->setFocus();
        QStringList names;
        QVector<QWidget *> stops;
        do {
            stops += m_dialog->focusWidget();
            const QString name = formName(stops.last());
            // The three fields of one widget follow each other, from x to z.
            if (names.isEmpty() || names.last() != name)
                names += name;
            QTest::keyClick(m_dialog->windowHandle(), Qt::Key_Tab);
        } while (m_dialog->focusWidget() != m_form.body_name && stops.size() < 100);
        QCOMPARE(names, expected.split(QLatin1Char(' ')));
        for (int i = 1; i < stops.size(); ++i) {
            if (formName(stops[i]) != formName(stops[i - 1]))
                continue;
            const QRect before = place(stops[i - 1]);
            const QRect after = place(stops[i]);
            QVERIFY(after.top() >= before.bottom() || after.left() >= before.right());
        }
    }
}

void tst_BodyAdjustmentForm::controlsWithoutATextHaveNames()
{
    for (const QWidget *widget : QList<QWidget *>{m_form.body_icon, m_form.body_name,
                                                  m_form.label_3, m_form.label_4, m_form.label_5})
        QVERIFY2(!widget->accessibleName().isEmpty(), qPrintable(widget->objectName()));
}

void tst_BodyAdjustmentForm::theBodyListTakesNoFocusFromTheWheel()
{
    for (const QWidget *widget :
         QList<QWidget *>{m_form.body_name, m_form.doubleSpinBox_ex, m_form.doubleSpinBox_ey,
                          m_form.doubleSpinBox_ez, m_form.doubleSpinBox_alpha})
        QCOMPARE(widget->focusPolicy(), Qt::StrongFocus);
}

void tst_BodyAdjustmentForm::sizesAreSensible()
{
    show();
    QCOMPARE(m_dialog->size(), QSize(1020, 720));
    // Small enough for a notebook's screen with a panel.
    QVERIFY(m_dialog->minimumSizeHint().width() <= 1020);
    QVERIFY(m_dialog->minimumSizeHint().height() <= 700);
    QVERIFY(m_form.stackedWidget->width() >= 600);
    QVERIFY(m_form.stackedWidget->height() >= 500);
    QCOMPARE(m_form.body_icon->size(), QSize(18, 18));
}

void tst_BodyAdjustmentForm::theViewTakesTheRoomThatIsAdded()
{
    show();
    const QSize view = m_form.stackedWidget->size();
    const int tabWidth = m_form.tabWidget->width();
    m_dialog->resize(m_dialog->size() + QSize(300, 200));
    QTRY_COMPARE(m_form.stackedWidget->size(), view + QSize(300, 200));
    QCOMPARE(m_form.tabWidget->width(), tabWidth);
}

void tst_BodyAdjustmentForm::theTabsStandRightOfTheViewAndTheControlsBelow()
{
    show();
    const QRect view = place(m_form.stackedWidget);
    const QRect tabs = place(m_form.tabWidget);
    QVERIFY(tabs.left() > view.right());
    QCOMPARE(tabs.bottom(), view.bottom());
    QVERIFY(place(m_form.body_name).bottom() < view.top());
    // Beside the list and the view, which end alike.
    QVERIFY(tabs.top() <= place(m_form.body_name).top());
    QCOMPARE(place(m_form.body_name).right(), view.right());
    QVERIFY(place(m_form.pos_xyzWidget).top() > view.bottom());
    QVERIFY(place(m_form.ok_button).top() > place(m_form.line).bottom());
    // The bottom row ends where the tabs end.
    QCOMPARE(place(m_form.cancel_button).right(), tabs.right());
    QCOMPARE(place(m_form.redo_button).right(), tabs.right());
    QCOMPARE(place(m_form.help_button).left(), view.left());
}

void tst_BodyAdjustmentForm::messagesChangeNothingInTheLayout()
{
    m_form.error_label->hide();
    show();
    const QRect view = place(m_form.stackedWidget);
    for (const char *text : {"", "<b><font color=red>Tracking is not available!</font></b>"}) {
        m_form.error_label->setText(QString::fromLatin1(text));
        m_form.error_label->show();
        QCoreApplication::processEvents();
        QCOMPARE(place(m_form.stackedWidget), view);
        QCOMPARE(m_dialog->size(), QSize(1020, 720));
    }
    QCOMPARE(clippedTexts(m_dialog.data()), QStringList());
    // A long one takes more lines.
    m_form.error_label->setText(QStringLiteral("The axes were left as they are. ").repeated(6));
    QCoreApplication::processEvents();
    QCOMPARE(clippedTexts(m_dialog.data()), QStringList());
}

void tst_BodyAdjustmentForm::noTextIsClipped_data()
{
    QTest::addColumn<bool>("longTexts");
    QTest::addColumn<bool>("smallest");
    QTest::newRow("as it opens") << false << false;
    QTest::newRow("as small as it gets") << false << true;
    QTest::newRow("long texts, as it opens") << true << false;
    QTest::newRow("long texts, as small as it gets") << true << true;
}

void tst_BodyAdjustmentForm::noTextIsClipped()
{
    QFETCH(bool, longTexts);
    QFETCH(bool, smallest);
    LongTexts translator;
    const InstalledTranslator installed(longTexts ? &translator : nullptr);
    build();
    if (longTexts)
        QCOMPARE(m_form.cancel_button->text(), QStringLiteral("Cancelneh"));
    m_form.error_label->hide();
    show();
    if (smallest) {
        m_dialog->resize(m_dialog->minimumSizeHint());
        QTRY_COMPARE(m_dialog->size(), m_dialog->minimumSizeHint());
    }
    for (int tab = 0; tab < 3; ++tab) {
        m_form.tabWidget->setCurrentIndex(tab);
        QCoreApplication::processEvents();
        QCOMPARE(clippedTexts(m_dialog.data()), QStringList());
    }
}

void tst_BodyAdjustmentForm::picturesAreThere_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QSize>("size");
    const auto row = [](const char *path, int width, int height) {
        QTest::newRow(path) << QString::fromLatin1(path) << QSize(width, height);
    };
    row(":/red.png", 18, 18);
    row(":/green.png", 18, 18);
    row(":/grey.png", 18, 18);
    row(":/lock.png", 32, 32);
    row("://71.png", 16, 16);
    row("://72.png", 16, 16);
    row(":/due_to_body.png", 160, 120);
    row(":/due_to_room_cog.png", 160, 120);
    row(":/due_to_room.png", 160, 120);
    row(":/panning.png", 180, 135);
    row(":/rotation.png", 180, 135);
    row(":/zooming.png", 180, 135);
}

void tst_BodyAdjustmentForm::picturesAreThere()
{
    QFETCH(QString, path);
    QFETCH(QSize, size);
    const QImage picture(path);
    QCOMPARE(picture.size(), size);
    const QImage fine(QString(path).insert(path.size() - 4, QLatin1String("@2x")));
    QCOMPARE(fine.size(), size * 2);
    // Round or with round corners: no box on a ground of another colour.
    QCOMPARE(qAlpha(picture.pixel(0, 0)), 0);
    int opaque = 0;
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x)
            opaque += qAlpha(picture.pixel(x, y)) > 250;
    }
    QVERIFY(opaque > size.width() * size.height() / 10);
}

void tst_BodyAdjustmentForm::pictureWithTooFewPixelsGivesWayToItsFinerVariant_data()
{
    QTest::addColumn<bool>("hasFine");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QSize>("shown");
    QTest::addColumn<bool>("isFine");
    QTest::newRow("its own size") << true << QSize() << QSize(16, 8) << false;
    QTest::newRow("smaller") << true << QSize(8, 6) << QSize(8, 6) << false;
    QTest::newRow("only wider") << true << QSize(20, 8) << QSize(20, 8) << true;
    QTest::newRow("only higher") << true << QSize(16, 12) << QSize(16, 12) << true;
    QTest::newRow("larger") << true << QSize(32, 16) << QSize(32, 16) << true;
    QTest::newRow("larger, but there is none") << false << QSize(32, 16) << QSize(32, 16) << false;
}

void tst_BodyAdjustmentForm::pictureWithTooFewPixelsGivesWayToItsFinerVariant()
{
    QFETCH(bool, hasFine);
    QFETCH(QSize, size);
    QFETCH(QSize, shown);
    QFETCH(bool, isFine);
    const QTemporaryDir folder;
    const auto save = [&folder](const char *name, const QSize &pixels, const QColor &colour) {
        QImage image(pixels, QImage::Format_RGB32);
        image.fill(colour);
        return image.save(folder.filePath(QString::fromLatin1(name)));
    };
    const QColor coarse(200, 0, 0);
    const QColor fine(0, 0, 200);
    QVERIFY(save("picture.png", QSize(16, 8), coarse));
    if (hasFine)
        QVERIFY(save("picture@2x.png", QSize(32, 16), fine));

    QLabel label;
    QCOMPARE(label.devicePixelRatioF(), 1.0);
    showSharpPicture(&label, folder.filePath(QStringLiteral("picture.png")), size);
    const QImage picture = label.pixmap(Qt::ReturnByValue).toImage();
    QCOMPARE(picture.size(), shown);
    QCOMPARE(picture.pixelColor(shown.width() / 2, shown.height() / 2), isFine ? fine : coarse);
}

void tst_BodyAdjustmentForm::anotherPictureTakesThePlaceOfTheFirst()
{
    QLabel label;
    // The label may have children of other kinds.
    auto *other = new QObject(&label);
    showSharpPicture(&label, QStringLiteral(":/red.png"));
    const QObjectList children = label.children();
    QVERIFY(children.contains(other));
    showSharpPicture(&label, QStringLiteral(":/panning.png"));
    QCOMPARE(label.pixmap(Qt::ReturnByValue).size(), QSize(180, 135));
    showSharpPicture(&label, QString());
    QVERIFY(label.pixmap(Qt::ReturnByValue).isNull());
    QCOMPARE(label.children(), children);
}

void tst_BodyAdjustmentForm::buttonIconsAreLegibleOnLightAndDark_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("undo") << QStringLiteral("://72.png");
    QTest::newRow("redo") << QStringLiteral("://71.png");
}

void tst_BodyAdjustmentForm::buttonIconsAreLegibleOnLightAndDark()
{
    QFETCH(QString, path);
    const QImage picture = QImage(path).convertToFormat(QImage::Format_ARGB32);
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const QRgb pixel = picture.pixel(x, y);
            if (qAlpha(pixel) < 250)
                continue;
            QVERIFY(contrast(pixel, qRgb(255, 255, 255)) >= 3.0);
            QVERIFY(contrast(pixel, qRgb(53, 53, 53)) >= 3.0);
        }
    }
}

QUOREL2_TEST_MAIN(tst_BodyAdjustmentForm)
#include "tst_BodyAdjustmentForm.moc"
