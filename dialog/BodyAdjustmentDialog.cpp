#include "BodyAdjustmentDialog.h"

#include "AccessibleTexts.h"
#include "BodyAdjustmentMessageReceiver.h"
#include "BodyList.h"
#include "MessageBoxes.h"
#include "ui_BodyAdjustmentDialogClass.h"

#include <host/BackendVersions.h>
#include <model/bsPose.h>
#include <view/GLCanvas.h>
#include <widgets/BodyTable.h>
#include <widgets/HelpDialog.h>
#include <widgets/SetAxisDialog.h>
#include <widgets/SharpPictures.h>
#include <widgets/WidgetResources.h>
#include <widgets/xyzWidget.h>

#include <QEvent>
#include <QKeyEvent>
#include <QPointer>
#include <QShortcut>
#include <QTimer>

#include <algorithm>
#include <utility>

namespace {

constexpr char kModuleName[] = "BodyAdjustmentModule";
constexpr int kPollIntervalMs = 30;
constexpr QSize kStatusPictureSize(18, 18);
constexpr int kEmissionTabIndex = 2;
/// A larger count is a misread one and would only cost memory: what is kept for each body grows by
/// itself when a body beyond it is written.
constexpr int kMostBodies = 1000;
constexpr double kPositionRange = 999.99;
constexpr double kFullTurnDeg = 360.0;
/// Left Shift, right Shift and Num Lock together, as Windows reports them.
constexpr quint32 kBodyNameFocusModifiers = 0x211;

const QLatin1String kFiveDofTarget("tt_5dof");
const QLatin1String kCylinderSuffix("_cyl");

} // namespace

BodyAdjustmentDialog::BodyAdjustmentDialog(IOManager *manager, QWidget *parent,
                                           BackendVersions *versions)
    : QDialog(parent)
    , m_form(std::make_unique<Ui::BodyAdjustmentDialogClass>())
    , m_channel(manager)
    , m_catalogue(&m_channel, versions)
    , m_writer(&m_channel, versions)
    , m_session(&m_channel, &m_catalogue, versions)
    , m_changes(&m_writer, &m_session, &m_channel)
{
    initWidgetResources();
    m_form->setupUi(this);
    m_form->tabWidget->removeTab(kEmissionTabIndex);

    m_messageReceiver = new BodyAdjustmentMessageReceiver(this);
    m_channel.registerReceiver(kModuleName, m_messageReceiver);
    m_receiverRegistered = true;
    connect(m_messageReceiver, &BodyAdjustmentMessageReceiver::OpenBodyAdjustmentDialog, this,
            &BodyAdjustmentDialog::onReceiveOpenBodyAdjustmentDialog, Qt::QueuedConnection);

    m_pollTimer = new QTimer(this);
    m_pollTimer->setInterval(kPollIntervalMs);
    m_setAxisDialog = new SetAxisDialog(this);
    m_bodyList = new BodyList(m_form->body_name, this);
    createCanvasAndMenus();
    configureValueWidgets();
    connectWidgets();
    handOverDisplayFlags(m_canvas, m_display);
    m_canvas->setOnline(false);
    setChosenBody(ListedBody());

    setRoomButtonsEnabled(false);
    m_form->set_origin_button->setEnabled(false);
    m_form->set_axis_button->setEnabled(false);
    m_form->pushButton_deleteMarker->setEnabled(false);
    setOnlineBoxFromState();
    m_lockIcon = QIcon(QStringLiteral(":/lock.png"));
    m_form->tabWidget->setCurrentIndex(0);
}

BodyAdjustmentDialog::~BodyAdjustmentDialog()
{
    detachFromHost();
    if (m_subscribed)
        m_session.unsubscribe(this);
    if (m_controllerTaken) {
        // The host ends while the dialog is open: the user's settings on the controller come back.
        m_session.stopMeasurement();
        restoreController();
    }
    if (m_openBoxes > 0) {
        // The dialog ends inside a message box that a change of the body list may have opened. The
        // list is still on the call stack and lives until that has unwound.
        m_bodyList->releaseBox();
    }
    m_canvas->disconnect(this);
    delete m_canvas;
    m_canvas = nullptr;
}

void BodyAdjustmentDialog::detachFromHost()
{
    if (m_receiverRegistered)
        m_channel.unregisterReceiver(kModuleName, m_messageReceiver);
    m_receiverRegistered = false;
    m_pollTimer->stop();
}

void BodyAdjustmentDialog::createCanvasAndMenus()
{
    m_canvas = new GLCanvas(this);
    m_canvas->setSuspended(false);
    m_table = new BodyTable(this);
    m_form->stackedWidget->insertWidget(0, m_canvas);
    m_form->stackedWidget->insertWidget(1, m_table);
    m_form->stackedWidget->setCurrentIndex(0);
    QWidget::setTabOrder(m_form->body_name, m_canvas);
    m_table->setTabOrderBehind(m_canvas);
    drawIconSharply(m_form->undo_button);
    drawIconSharply(m_form->redo_button);
    showSharpPicture(m_form->label_3, QStringLiteral(":/due_to_body.png"));
    showSharpPicture(m_form->label_4, QStringLiteral(":/due_to_room_cog.png"));
    showSharpPicture(m_form->label_5, QStringLiteral(":/due_to_room.png"));

    createViewMenus(this, m_canvas, m_table, m_display);
    nameControls();
}

void BodyAdjustmentDialog::nameControls()
{
    // The pages that the form explains are those that the view and the table stand for.
    m_canvas->setAccessibleName(m_form->page_1->whatsThis());
    m_table->setAccessibleName(m_form->page_2->whatsThis());
    describeControls(this);
}

void BodyAdjustmentDialog::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QDialog::changeEvent(event);
}

void BodyAdjustmentDialog::retranslate()
{
    // These three are values, which the form's texts would overwrite.
    const QVector<QLabel *> values = {m_form->label_ex, m_form->label_ey, m_form->label_ez};
    QStringList texts;
    for (const QLabel *value : values)
        texts.append(value->text());
    m_form->retranslateUi(this);
    for (int i = 0; i < values.size(); ++i)
        values.at(i)->setText(texts.at(i));
    nameControls();
    m_form->loadBody->setText(captionOfChosenBody());
    showBodyState(m_bodyState);
    const bool showsOpeningText = m_form->error_label->text() == m_openingText;
    m_openingText = openingText();
    if (showsOpeningText)
        setErrorText(m_openingText);
}

void BodyAdjustmentDialog::configureValueWidgets()
{
    const auto configure = [](xyzWidget *widget, bsDoubleMode mode, double minimum, double maximum,
                              bool wrapping) {
        widget->setMode(mode);
        widget->setXWrapping(wrapping);
        widget->setYWrapping(wrapping);
        widget->setZWrapping(wrapping);
        widget->setXRange(minimum, maximum);
        widget->setYRange(minimum, maximum);
        widget->setZRange(minimum, maximum);
    };
    configure(m_form->body_pos_xyzWidget, SpinBoxOnly, -kPositionRange, kPositionRange, false);
    configure(m_form->body_ori_xyzWidget, SpinBoxOnly, 0.0, kFullTurnDeg, true);
    configure(m_form->pos_xyzWidget, WheelOnly, -kPositionRange, kPositionRange, false);
    configure(m_form->ori_xyzWidget, WheelOnly, 0.0, kFullTurnDeg, true);
}

void BodyAdjustmentDialog::connectWidgets()
{
    xyzWidget *viewPosition = m_form->pos_xyzWidget;
    xyzWidget *viewOrientation = m_form->ori_xyzWidget;
    xyzWidget *bodyPosition = m_form->body_pos_xyzWidget;
    xyzWidget *bodyOrientation = m_form->body_ori_xyzWidget;

    connect(viewPosition, &xyzWidget::valueChanged, m_canvas, &GLCanvas::translateView);
    connect(m_canvas, &GLCanvas::translateViewRequest, viewPosition, &xyzWidget::adjustValues);
    connect(viewPosition, &xyzWidget::xyzEditingFinished, m_canvas, &GLCanvas::storeViewRequest);
    connect(viewOrientation, &xyzWidget::valueChanged, m_canvas, &GLCanvas::rotateView);
    connect(m_canvas, &GLCanvas::rotateViewRequest, viewOrientation, &xyzWidget::adjustValues);
    connect(viewOrientation, &xyzWidget::xyzEditingBegin, m_canvas, &GLCanvas::rotateViewBegin);
    connect(viewOrientation, &xyzWidget::xyzEditingFinished, m_canvas, &GLCanvas::rotateViewEnd);
    connect(viewOrientation, &xyzWidget::xyzEditingFinished, m_canvas, &GLCanvas::storeViewRequest);
    connect(m_canvas, &GLCanvas::storeViewRequest, m_canvas, &GLCanvas::saveCurrentView);
    connect(m_canvas, &GLCanvas::storeViewRequest, viewOrientation, &xyzWidget::reset);
    connect(m_canvas, &GLCanvas::storeViewRequest, viewPosition, &xyzWidget::reset);

    connect(bodyPosition, &xyzWidget::valueChanged, this,
            &BodyAdjustmentDialog::enable_undo_disable_redo);
    connect(bodyOrientation, &xyzWidget::valueChanged, this,
            &BodyAdjustmentDialog::enable_undo_disable_redo);
    connect(bodyPosition, &xyzWidget::valueChanged, m_canvas, &GLCanvas::translateBody);
    connect(bodyPosition, &xyzWidget::xyzEditingFinished, m_canvas, &GLCanvas::storeBodyRequest);
    connect(m_canvas, &GLCanvas::storeBodyRequest, bodyPosition, &xyzWidget::reset);
    connect(bodyOrientation, &xyzWidget::valueChanged, m_canvas,
            QOverload<double, double, double>::of(&GLCanvas::rotateBody));
    connect(bodyOrientation, &xyzWidget::xyzEditingFinished, m_canvas, &GLCanvas::storeBodyRequest);
    connect(m_canvas, &GLCanvas::storeBodyRequest, bodyOrientation, &xyzWidget::reset);
    connect(m_canvas, &GLCanvas::body_change, this, &BodyAdjustmentDialog::table_body_change);
    connect(m_canvas, &GLCanvas::body_change, this, &BodyAdjustmentDialog::apply_button_enable);

    connect(m_form->set_origin_button, &QPushButton::clicked, this,
            &BodyAdjustmentDialog::set_origin_to_marker);
    connect(m_canvas, &GLCanvas::canSetOriginToMarker, this,
            &BodyAdjustmentDialog::can_set_origin_to_marker_slot);
    connect(m_form->set_axis_button, &QPushButton::clicked, this, &BodyAdjustmentDialog::set_axis);
    connect(m_setAxisDialog, &SetAxisDialog::setAxis, m_canvas, &GLCanvas::setAxisToMarkers);
    connect(m_canvas, &GLCanvas::canSetAxisToMarkers, this,
            &BodyAdjustmentDialog::can_set_axis_slot);
    connect(m_canvas, &GLCanvas::canUndo, m_form->undo_button, &QPushButton::setEnabled);
    connect(m_canvas, &GLCanvas::canRedo, m_form->redo_button, &QPushButton::setEnabled);
    connect(m_pollTimer, &QTimer::timeout, m_canvas, &GLCanvas::updateGL);
    connect(m_pollTimer, &QTimer::timeout, this, &BodyAdjustmentDialog::update_track);
    connect(m_bodyList, &BodyList::pointedAt, this, &BodyAdjustmentDialog::loadBodyPointedAt);
    connect(this, &BodyAdjustmentDialog::set_chosen_body_tracked, this,
            &BodyAdjustmentDialog::update_room_buttons);
    connect(m_canvas, &GLCanvas::canDeleteMarker, this, &BodyAdjustmentDialog::onCanDeleteMarker);

    // The zero values of the reset after a commit switch the buttons as a new edit would; what
    // stands at the end is what can really be undone, redone and applied.
    connect(m_canvas, &GLCanvas::storeBodyRequest, this, &BodyAdjustmentDialog::refreshEditButtons);

    const auto addShortcut = [this](const QKeySequence &keys, QPushButton *button) {
        auto *shortcut = new QShortcut(keys, this);
        connect(shortcut, &QShortcut::activated, button, &QPushButton::click);
    };
    addShortcut(QKeySequence(Qt::CTRL + Qt::Key_Z), m_form->undo_button);
    addShortcut(QKeySequence(Qt::CTRL + Qt::SHIFT + Qt::Key_Z), m_form->redo_button);
}

// Opening, showing, hiding, closing ---------------------------------------------------------------

int BodyAdjustmentDialog::update_and_exec()
{
    if (m_running) {
        raise();
        activateWindow();
        return QDialog::Rejected;
    }
    m_running = true;
    m_hasBeenShown = false;

    readControllerState();
    const int standardCount = m_catalogue.readStandardBodyCount();
    const int vimbarCount = m_catalogue.readVimbarCount();
    m_changes.begin(std::clamp(standardCount, 0, kMostBodies) +
                    std::clamp(vimbarCount, 0, kMostBodies));

    m_controllerTaken = true;
    m_session.switchOffMultiUser();
    m_session.saveAndUnsetReference();

    buildBodyList();

    if (!m_requestingModule.isEmpty()) {
        m_form->body_name->setEnabled(false);
        enableEditing();
        setViewControlsEnabled(true);
        if (!chooseRequestedBody())
            return QDialog::Rejected;
    } else {
        m_form->body_name->setEnabled(true);
        m_form->body_name->setFocus();
        setViewControlsEnabled(true);
        disableEditing();
    }

    m_tracking.setMultiUserWithHead(m_catalogue.isMultiUserWithHeadOn());
    setOnlineBoxFromState();
    m_online = false;
    m_form->online_checkbox->setChecked(false);
    m_canvas->setOnline(false);
    setRoomButtonsEnabled(false);

    const QPointer<BodyAdjustmentDialog> guard(this);
    const int result = exec();
    if (!guard)
        return result;
    m_running = false;
    // The end of the program ends exec() and leaves the window open.
    if (isVisible())
        hide();
    if (m_controllerTaken) {
        // Hidden by someone else than OK or Cancel.
        restoreController();
        answerRequest();
    }
    const QVector<Request> waiting = std::exchange(m_waitingRequests, {});
    for (const Request &request : waiting) {
        QMetaObject::invokeMethod(
            this,
            [this, request] { onReceiveOpenBodyAdjustmentDialog(request.source, request.body); },
            Qt::QueuedConnection);
    }
    return result;
}

/// The controls follow what the controller allows.
void BodyAdjustmentDialog::readControllerState()
{
    m_readOnly = m_session.readConfigurationLocked();
    setViewControlsEnabled(false);
    setTabsEnabled(!m_readOnly);
    if (m_readOnly) {
        setWindowIcon(m_lockIcon);
        disableEditing();
    } else {
        setWindowIcon(parentWidget() ? parentWidget()->windowIcon() : QIcon());
        enableEditing();
    }

    if (!m_session.readTrackingAvailable()) {
        setErrorText(tr("<b><font color=red>Tracking is not available!</font></b>"));
        m_form->reset_view_button->setEnabled(false);
    } else {
        setErrorText(QString());
        m_form->reset_view_button->setEnabled(true);
        m_form->loadBody->setText(tr("Bod&y"));
        showBodyState(BodyState::None);
    }

    m_form->set_origin_button->setEnabled(false);
    m_form->set_axis_button->setEnabled(false);
}

// The signature by which other code finds the slot.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
void BodyAdjustmentDialog::onReceiveOpenBodyAdjustmentDialog(QString src, QString msg)
{
    // Sent before the host detached the module.
    if (!m_receiverRegistered)
        return;
    if (m_running && m_hasBeenShown && !isVisible()) {
        // It is closed, but the opening before has not returned yet.
        m_waitingRequests.append({src, msg});
        return;
    }
    if (m_running) {
        setWindowState(windowState() & ~Qt::WindowMinimized);
        raise();
        activateWindow();
        if (!src.isEmpty())
            m_channel.postMessage(src, "reopen");
        return;
    }
    m_requestingModule = src;
    m_requestedBody = msg;
    update_and_exec();
}

void BodyAdjustmentDialog::buildBodyList()
{
    const BodyCatalogue::List list = m_catalogue.readBodyList();
    m_bodyList->fill(list.items);
    m_multiUserWarning = list.multiUserWarning;
    m_openingText = openingText();
    setErrorText(m_openingText);
    update_current_body(-1);
}

QString BodyAdjustmentDialog::openingText() const
{
    if (m_multiUserWarning)
        return tr("<b><font color=red>Multi user should be disabled!</font></b>");
    if (!m_canvas->isValid())
        return tr("This display has no OpenGL: bodies are shown in the data view only.");
    return QString();
}

/// @return false if the dialog has gone
bool BodyAdjustmentDialog::chooseRequestedBody()
{
    const int position = m_bodyList->positionOf(m_requestedBody);
    if (position < 0)
        return true;
    const QPointer<BodyAdjustmentDialog> guard(this);
    m_bodyList->choose(position);
    return !guard.isNull();
}

void BodyAdjustmentDialog::showEvent(QShowEvent *event)
{
    m_hasBeenShown = true;
    m_session.subscribe(this);
    m_subscribed = true;
    m_session.startMeasurement();
    setOnlineBoxFromState();
    m_pollTimer->start();
    QDialog::showEvent(event);
}

void BodyAdjustmentDialog::hideEvent(QHideEvent *event)
{
    m_pollTimer->stop();
    m_session.stopMeasurement();
    setOnlineBoxFromState();
    m_session.unsubscribe(this);
    m_subscribed = false;
    QDialog::hideEvent(event);
}

void BodyAdjustmentDialog::on_ok_button_clicked()
{
    finishOpenEdits();
    if (m_canvas->hasUnappliedChanges()) {
        writeTransform();
        emptyCanvas();
    }
    m_session.stopMeasurement();
    restoreController();
    accept();
    answerRequest();
}

void BodyAdjustmentDialog::reject()
{
    // The question below is asked once, however often the window is told to close.
    if (m_askingToDiscard)
        return;
    finishOpenEdits();
    // Should the dialog stay open, it shows what the controller holds.
    if (m_changes.writeMarkersOfOpening())
        showMarkersAgain();
    if (m_changes.hasTransforms() || m_canvas->hasUnappliedChanges()) {
        const QPointer<BodyAdjustmentDialog> guard(this);
        m_askingToDiscard = true;
        const QMessageBox::StandardButton answer = runBox(
            QMessageBox::Warning, tr("Body Adjustment"), tr("Discard the changes for all bodies?"),
            QMessageBox::Yes | QMessageBox::No, QMessageBox::No);
        if (!guard)
            return;
        m_askingToDiscard = false;
        if (answer != QMessageBox::Yes)
            return;
        m_changes.discardTransforms([this](int position) { return m_bodyList->entryAt(position); });
        emptyCanvas();
    }
    m_session.stopMeasurement();
    restoreController();
    QDialog::reject();
    answerRequest();
}

void BodyAdjustmentDialog::restoreController()
{
    m_session.restoreMultiUser();
    m_session.restoreReference();
    m_controllerTaken = false;
}

void BodyAdjustmentDialog::answerRequest()
{
    if (!m_requestingModule.isEmpty())
        m_channel.postMessage(m_requestingModule, "reopen");
    m_requestingModule.clear();
    m_requestedBody.clear();
}

// Choosing a body ---------------------------------------------------------------------------------

/// Opening the list points at the body that is shown; only leaving it may ask for its changes and
/// load another one. Where the controller may hold other markers than those shown, it is the way to
/// read them again.
void BodyAdjustmentDialog::loadBodyPointedAt(int position)
{
    const bool isShown = position == m_changes.shown().listIndex && position == m_chosen.listIndex;
    if (position < 0 || !isShown || !m_changes.areMarkersCertain())
        update_current_body(position);
}

void BodyAdjustmentDialog::update_current_body(int index, bool show_msg)
{
    m_pollTimer->stop();
    m_tracking.forget();
    if (index < 0) {
        chooseNoBody();
        return;
    }

    finishOpenEdits();
    if (m_canvas->hasUnappliedChanges() && show_msg) {
        // The open list would keep the mouse from the question.
        m_bodyList->hidePopup();
        const QMessageBox::StandardButton answer =
            ask(QMessageBox::Warning, tr("Body Adjustment"), tr("Apply the changes?"),
                QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes);
        if (answer == QMessageBox::NoButton)
            return;
        if (answer == QMessageBox::Yes)
            writeTransform();
    }

    if (!loadChosenBody(index, false))
        return;
    setOnlineBoxFromState();
    m_bodyList->showChosen(index);
    m_pollTimer->start();
}

void BodyAdjustmentDialog::update_after_apply(int index)
{
    loadChosenBody(index, true);
}

void BodyAdjustmentDialog::chooseNoBody()
{
    setErrorText(m_openingText);
    m_table->clearTable();
    if (m_canvas->isBodyLoaded())
        emptyCanvas();
    setChosenBody(ListedBody());
    m_form->loadBody->setText(captionOfChosenBody());
    showBodyState(BodyState::None);
    setOnlineBoxFromState();
    refreshEditButtons();
    m_pollTimer->start();
}

bool BodyAdjustmentDialog::loadChosenBody(int index, bool alwaysEnableEditing)
{
    setErrorText(m_openingText);
    const int position = index < 0 ? m_bodyList->currentPosition() : index;
    const std::optional<BodyListEntry> entry = m_bodyList->entryAt(position);
    if (!entry) {
        BodyListEntry unreadable;
        unreadable.number = 1;
        unreadable.targetType = kStandardTarget;
        setChosenBody(ListedBody(unreadable, position));
        m_pollTimer->start();
        return false;
    }
    setChosenBody(ListedBody(*entry, position));
    if (!m_chosen.isCalibrated) {
        showUncalibratedBody();
        return true;
    }
    return showCalibratedBody(alwaysEnableEditing);
}

bool BodyAdjustmentDialog::showCalibratedBody(bool alwaysEnableEditing)
{
    m_form->loadBody->setText(captionOfChosenBody());
    connect(this, &BodyAdjustmentDialog::set_chosen_body_tracked, this,
            &BodyAdjustmentDialog::update_room_buttons, Qt::UniqueConnection);
    MarkerList markers;
    if (!m_catalogue.loadMarkers(m_chosen.type, m_chosen.number(), &markers.positions,
                                 &markers.emissions)) {
        if (m_changes.shown().isValid())
            chooseShownBody();
        refreshEditButtons();
        onCanDeleteMarker();
        m_pollTimer->start();
        return false;
    }
    // Whether this one is tracked is told by the next data line.
    if (m_bodyState == BodyState::NotCalibrated)
        showBodyState(BodyState::None);
    m_table->showRawMarkers(m_chosen.number(), markers.positions, markers.emissions);
    if (m_canvas->isBodyLoaded())
        emptyCanvas();
    const QPointer<BodyAdjustmentDialog> guard(this);
    // A body that is none is reported in a message box.
    ++m_openBoxes;
    const bool shown = m_canvas->setBody(markers.positions, markers.emissions);
    if (!guard)
        return false;
    --m_openBoxes;
    if (shown) {
        m_changes.setShown(m_chosen, markers);
        if (m_form->online_checkbox->isChecked())
            m_canvas->setOnline(true);
    }
    refreshEditButtons();
    // Also while online: the room buttons are for standard targets only.
    if (m_chosen.targetType != kStandardTarget)
        setRoomButtonsEnabled(false);
    if (alwaysEnableEditing || (!m_readOnly && !hasCylinderMarkers())) {
        enableEditing();
        setTabsEnabled(true);
    } else {
        disableEditing();
        setTabsEnabled(false);
    }
    setViewControlsEnabled(true);
    return true;
}

/// The body that is still shown is the chosen one again, in the list too: what is seen, what is
/// named and what would be written must not differ.
void BodyAdjustmentDialog::chooseShownBody()
{
    setChosenBody(m_changes.shown());
    m_form->loadBody->setText(captionOfChosenBody());
    m_bodyList->showChosen(m_chosen.listIndex);
}

void BodyAdjustmentDialog::showUncalibratedBody()
{
    m_form->loadBody->setText(captionOfChosenBody());
    disconnect(this, &BodyAdjustmentDialog::set_chosen_body_tracked, this,
               &BodyAdjustmentDialog::update_room_buttons);
    showBodyState(BodyState::NotCalibrated);
    m_table->clearTable();
    if (m_canvas->isBodyLoaded())
        emptyCanvas();
    refreshEditButtons();
    setViewControlsEnabled(false);
    disableEditing();
    setRoomButtonsEnabled(false);
}

/// The cameras of both modes stay as they are.
void BodyAdjustmentDialog::emptyCanvas()
{
    finishViewEdits();
    m_canvas->setOnline(false);
    m_canvas->clearBody();
    m_changes.setNoneShown();
}

void BodyAdjustmentDialog::setChosenBody(const ListedBody &body)
{
    m_chosen = body;
    m_tracking.choose(body.type, body.index);
    // Lines of the body that was left may have come until now.
    m_tracking.forget();
}

QString BodyAdjustmentDialog::captionOfChosenBody() const
{
    if (m_chosen.isValid() && !m_chosen.isCalibrated && !m_chosen.type.isEmpty())
        return tr("<b><font color=red>Bod&y not calibrated!</font></b>");
    return hasCylinderMarkers() ? tr("<b><font color=gray>Bod&y has cylinder marker!</font></b>")
                                : tr("Bod&y");
}

bool BodyAdjustmentDialog::hasCylinderMarkers() const
{
    return m_chosen.targetType.endsWith(kCylinderSuffix);
}

// State of the controls ---------------------------------------------------------------------------

void BodyAdjustmentDialog::setViewControlsEnabled(bool enabled)
{
    m_form->reset_view_button->setEnabled(enabled);
    m_form->pos_xyzWidget->setEnabled(enabled);
    m_form->ori_xyzWidget->setEnabled(enabled);
}

void BodyAdjustmentDialog::enableEditing()
{
    if (!m_readOnly) {
        m_form->pushButton_due_to_body->setEnabled(m_chosen.targetType == kStandardTarget);
        m_form->body_pos_xyzWidget->setEnabled(m_chosen.targetType != kFiveDofTarget);
        m_form->body_ori_xyzWidget->setEnabled(true);
        m_form->set_origin_cog_button->setEnabled(true);
    }
    if (!m_online)
        setRoomButtonsEnabled(false);
    m_form->pushButton_deleteMarker->setEnabled(false);
}

void BodyAdjustmentDialog::disableEditing()
{
    m_form->pushButton_due_to_body->setEnabled(false);
    m_form->apply_button->setEnabled(false);
    m_form->body_pos_xyzWidget->setEnabled(false);
    m_form->body_ori_xyzWidget->setEnabled(false);
    m_form->undo_button->setEnabled(false);
    m_form->redo_button->setEnabled(false);
    m_form->set_origin_cog_button->setEnabled(false);
    m_form->pushButton_deleteMarker->setEnabled(false);
}

void BodyAdjustmentDialog::setTabsEnabled(bool enabled)
{
    // Disabling the current tab makes another one current.
    const int current = m_form->tabWidget->currentIndex();
    for (int i = 0; i < m_form->tabWidget->count(); ++i)
        m_form->tabWidget->setTabEnabled(i, enabled);
    m_form->tabWidget->setCurrentIndex(current);
}

void BodyAdjustmentDialog::setRoomButtonsEnabled(bool enabled)
{
    m_form->pushButton_due_to_room->setEnabled(enabled);
    m_form->pushButton_due_to_room_0->setEnabled(enabled);
    m_form->adjust_axes_to_room_button->setEnabled(enabled);
}

void BodyAdjustmentDialog::setOnlineBoxFromState()
{
    m_form->online_checkbox->setEnabled(m_session.isMeasurementRunning() && m_chosen.isValid() &&
                                        m_chosen.isCalibrated);
}

void BodyAdjustmentDialog::setErrorText(const QString &text)
{
    m_form->error_label->setText(text);
    m_form->error_label->setVisible(!text.isEmpty());
}

void BodyAdjustmentDialog::showBodyState(BodyState state)
{
    m_bodyState = state;
    QString picture;
    QString name = tr("The state of the body is not known");
    switch (state) {
    case BodyState::None:
        break;
    case BodyState::Tracked:
        picture = QStringLiteral(":/green.png");
        name = tr("The body is tracked");
        break;
    case BodyState::NotTracked:
        picture = QStringLiteral(":/red.png");
        name = tr("The body is not tracked");
        break;
    case BodyState::NotCalibrated:
        picture = QStringLiteral(":/grey.png");
        name = tr("The body is not calibrated");
        break;
    }
    showSharpPicture(m_form->body_icon, picture, kStatusPictureSize);
    // Comes with every data line; only a change is worth telling.
    if (m_form->body_icon->accessibleName() != name)
        m_form->body_icon->setAccessibleName(name);
}

void BodyAdjustmentDialog::apply_button_enable(bool can_apply)
{
    m_form->apply_button->setEnabled(can_apply);
}

void BodyAdjustmentDialog::can_set_origin_to_marker_slot(bool can_set)
{
    if (!m_readOnly)
        m_form->set_origin_button->setEnabled(can_set);
}

void BodyAdjustmentDialog::can_set_axis_slot(bool can_set)
{
    if (!m_readOnly)
        m_form->set_axis_button->setEnabled(can_set);
}

void BodyAdjustmentDialog::enable_undo_disable_redo()
{
    m_form->undo_button->setEnabled(true);
    m_form->redo_button->setEnabled(false);
}

void BodyAdjustmentDialog::enableEmissionTab(bool /*b*/) {}

void BodyAdjustmentDialog::update_room_buttons(bool status)
{
    if (m_online && !m_readOnly && m_chosen.isCalibrated && m_chosen.targetType == kStandardTarget)
        setRoomButtonsEnabled(status);
    if (m_chosen.isValid() && m_chosen.isCalibrated)
        showBodyState(status ? BodyState::Tracked : BodyState::NotTracked);
}

void BodyAdjustmentDialog::onCanDeleteMarker()
{
    m_form->pushButton_deleteMarker->setEnabled(canDeleteMarkers());
}

bool BodyAdjustmentDialog::isChosenBodyShown() const
{
    return m_chosen.isSame(m_changes.shown());
}

bool BodyAdjustmentDialog::canDeleteMarkers() const
{
    // A body that must not be edited keeps its markers, also from the keyboard.
    return m_form->tab->isEnabled() && isChosenBodyShown() &&
           m_changes.canDelete(m_canvas->selectedMarkerNumber());
}

bool BodyAdjustmentDialog::canUndoDeletion() const
{
    return isChosenBodyShown() && m_changes.canUndoDeletion();
}

bool BodyAdjustmentDialog::canRedoDeletion() const
{
    return isChosenBodyShown() && m_changes.canRedoDeletion();
}

void BodyAdjustmentDialog::refreshEditButtons()
{
    m_form->undo_button->setEnabled(m_canvas->body().undoCount() > 0 || canUndoDeletion());
    m_form->redo_button->setEnabled(m_canvas->body().redoCount() > 0 || canRedoDeletion());
    m_form->apply_button->setEnabled(m_canvas->hasUnappliedChanges());
}

void BodyAdjustmentDialog::refillTable()
{
    m_table->showMarkers(m_canvas->markerRecords());
}

void BodyAdjustmentDialog::table_body_change()
{
    setErrorText(m_openingText);
    refillTable();
}

// Editing -----------------------------------------------------------------------------------------

void BodyAdjustmentDialog::finishOpenEdits()
{
    m_form->body_pos_xyzWidget->finishEditing();
    m_form->body_ori_xyzWidget->finishEditing();
}

/// The camera is about to get another reference than the one from which the wheels count.
void BodyAdjustmentDialog::finishViewEdits()
{
    m_form->pos_xyzWidget->finishEditing();
    m_form->ori_xyzWidget->finishEditing();
}

void BodyAdjustmentDialog::afterOperation(bool done)
{
    if (!done) {
        setErrorText(
            m_canvas->isBodyLoaded()
                ? tr("The markers of this body do not define a coordinate system: at least three "
                     "markers at different distances are needed.")
                : tr("No body is shown."));
        refreshEditButtons();
        return;
    }
    setErrorText(m_openingText);
    apply_button_enable(true);
    refillTable();
}

/// The room buttons follow the data lines, the view only poses of full quality.
void BodyAdjustmentDialog::sayIfNotTracked()
{
    if (!m_online || m_canvas->isTracked())
        return;
    setErrorText(m_canvas->hasBeenTracked()
                     ? tr("The body is not tracked reliably now: the axes are those of the "
                          "orientation in which it was seen last.")
                     : tr("The body has not been tracked reliably yet: its orientation in the room "
                          "is not known."));
}

void BodyAdjustmentDialog::set_origin_to_marker()
{
    finishOpenEdits();
    m_canvas->setOriginToMarker();
    afterOperation(true);
}

void BodyAdjustmentDialog::on_set_origin_cog_button_clicked()
{
    finishOpenEdits();
    m_canvas->set_origin_to_cog();
    afterOperation(true);
}

void BodyAdjustmentDialog::set_axis()
{
    finishOpenEdits();
    const QPointer<BodyAdjustmentDialog> guard(this);
    m_setAxisDialog->exec();
    if (guard)
        afterOperation(true);
}

void BodyAdjustmentDialog::on_adjust_axes_to_room_button_clicked()
{
    if (!m_online)
        return;
    finishOpenEdits();
    m_canvas->setParallelAxes();
    afterOperation(true);
    sayIfNotTracked();
}

void BodyAdjustmentDialog::on_pushButton_due_to_body_clicked()
{
    finishOpenEdits();
    afterOperation(m_canvas->dueToBody());
}

void BodyAdjustmentDialog::on_pushButton_due_to_room_clicked()
{
    runRoomPreset(&GLCanvas::dueToRoomOriginInCog);
}

void BodyAdjustmentDialog::on_pushButton_due_to_room_0_clicked()
{
    runRoomPreset(&GLCanvas::dueToRoomOriginInMarker);
}

void BodyAdjustmentDialog::runRoomPreset(bool (GLCanvas::*preset)())
{
    finishOpenEdits();
    const bool done = (m_canvas->*preset)();
    afterOperation(done);
    if (done)
        sayIfNotTracked();
}

void BodyAdjustmentDialog::on_apply_button_clicked()
{
    finishOpenEdits();
    if (m_canvas->hasUnappliedChanges()) {
        m_session.stopTracking();
        writeTransform();
        m_session.startTracking();
        const QPointer<BodyAdjustmentDialog> guard(this);
        update_after_apply(m_chosen.listIndex);
        if (!guard)
            return;
    }
    m_form->apply_button->setEnabled(false);
}

void BodyAdjustmentDialog::writeTransform()
{
    const bsMatrix transform = bsPose::fromMatrix(m_canvas->bodyTransform(), 0.0).toMatrix();
    if (!m_changes.writeTransform(transform))
        return;
    // The body is shown as the controller now holds it. Should the reading that follows fail,
    // nothing is left that could be written once more.
    MarkerList markers = {m_canvas->body().markerPositions(), {}};
    const QList<MarkerRecord> records = m_canvas->markerRecords();
    for (const MarkerRecord &record : records)
        markers.emissions.append(record.emission);
    markers.transform(transform);
    m_canvas->setBody(markers.positions, markers.emissions);
    onCanDeleteMarker();
}

void BodyAdjustmentDialog::on_undo_button_clicked()
{
    finishOpenEdits();
    if (!canUndoDeletion()) {
        m_canvas->undo();
        // The canvas does not know of a deletion that can be redone.
        refreshEditButtons();
        return;
    }
    m_changes.undoDeletion();
    showMarkersAgain();
}

void BodyAdjustmentDialog::on_redo_button_clicked()
{
    finishOpenEdits();
    if (!canRedoDeletion()) {
        m_canvas->redo();
        refreshEditButtons();
        return;
    }
    m_changes.redoDeletion();
    showDeletion();
}

void BodyAdjustmentDialog::on_pushButton_deleteMarker_clicked()
{
    if (!canDeleteMarkers())
        return;
    const int marker = m_canvas->selectedMarkerNumber();
    const QMessageBox::StandardButton answer =
        ask(QMessageBox::Question, tr("QUOREL4"), tr("Delete selected marker?"),
            QMessageBox::Ok | QMessageBox::Cancel, QMessageBox::Cancel);
    if (answer != QMessageBox::Ok)
        return;
    m_changes.deleteMarker(marker);
    showDeletion();
}

void BodyAdjustmentDialog::showDeletion()
{
    if (m_changes.areMarkersCertain())
        showMarkersAgain();
    // The body's index stands in for a list position here, and stays so.
    update_current_body(m_chosen.index, true);
}

/// The markers of the body in the canvas were exchanged on the controller. What was done to its
/// coordinate system goes on: the stored frame is the same.
void BodyAdjustmentDialog::showMarkersAgain()
{
    m_canvas->exchangeMarkers(m_changes.markers().positions, m_changes.markers().emissions);
    refillTable();
    refreshEditButtons();
    onCanDeleteMarker();
}

// View --------------------------------------------------------------------------------------------

void BodyAdjustmentDialog::on_online_checkbox_clicked()
{
    m_pollTimer->stop();
    finishViewEdits();
    m_online = m_form->online_checkbox->isChecked();
    m_canvas->setOnline(m_online);
    if (!m_online)
        setRoomButtonsEnabled(false);
    m_pollTimer->start();
}

void BodyAdjustmentDialog::on_reset_view_button_clicked()
{
    m_canvas->setViewOrientation(bsMatrix::identity());
    if (!m_canvas->isDragging())
        m_canvas->setViewPosition(bsVector(0.0, 0.0, -300.0));
    finishViewEdits();
}

void BodyAdjustmentDialog::on_help_button_clicked()
{
    const QPointer<HelpDialog> help(new HelpDialog(this));
    help->exec();
    delete help.data();
}

void BodyAdjustmentDialog::toggle(bool DisplayFlags::*flag, void (GLCanvas::*setShown)(bool))
{
    m_display.*flag = !(m_display.*flag);
    (m_canvas->*setShown)(m_display.*flag);
    m_canvas->updateGL();
}

void BodyAdjustmentDialog::toggled_small_markers()
{
    toggle(&DisplayFlags::smallMarkers, &GLCanvas::showSmallMarkers);
}

void BodyAdjustmentDialog::toggled_colored_markers()
{
    toggle(&DisplayFlags::colouredMarkers, &GLCanvas::showColoredMarkers);
}

void BodyAdjustmentDialog::toggled_long_axes()
{
    toggle(&DisplayFlags::longAxes, &GLCanvas::showLongAxes);
}

void BodyAdjustmentDialog::toggled_show_COG()
{
    toggle(&DisplayFlags::showCog, &GLCanvas::showCOG);
}

void BodyAdjustmentDialog::toggled_show_XY()
{
    toggle(&DisplayFlags::showXy, &GLCanvas::showXYGrid);
}

void BodyAdjustmentDialog::toggled_show_YZ()
{
    toggle(&DisplayFlags::showYz, &GLCanvas::showYZGrid);
}

void BodyAdjustmentDialog::toggled_show_XZ()
{
    toggle(&DisplayFlags::showXz, &GLCanvas::showXZGrid);
}

void BodyAdjustmentDialog::toggled_marker_emissions()
{
    toggle(&DisplayFlags::markerEmissions, &GLCanvas::showMarkerEmissions);
}

void BodyAdjustmentDialog::toggled_show_room_ori()
{
    m_display.showRoomOrientation = !m_display.showRoomOrientation;
    m_canvas->setRoomAxesVisible(m_display.showRoomOrientation);
}

void BodyAdjustmentDialog::toggled_switch_view()
{
    if (m_canvas->isVisible()) {
        m_form->stackedWidget->setCurrentIndex(1);
        m_form->reset_view_button->setEnabled(false);
    } else {
        m_form->stackedWidget->setCurrentIndex(0);
        m_form->reset_view_button->setEnabled(true);
        m_canvas->setFocus(Qt::OtherFocusReason);
    }
}

void BodyAdjustmentDialog::keyPressEvent(QKeyEvent *event)
{
    switch (event->key()) {
    case Qt::Key_Delete:
        on_pushButton_deleteMarker_clicked();
        break;
    case Qt::Key_Y:
        if (event->nativeModifiers() == kBodyNameFocusModifiers)
            m_form->body_name->setFocus(Qt::OtherFocusReason);
        break;
    default:
        QDialog::keyPressEvent(event);
    }
}

void BodyAdjustmentDialog::resizeEvent(QResizeEvent *event)
{
    m_table->fitEmissionColumns();
    QDialog::resizeEvent(event);
}

// Emission tab ------------------------------------------------------------------------------------

void BodyAdjustmentDialog::on_doubleSpinBox_alpha_valueChanged(double /*value*/)
{
    calcNormalizedUnitVector();
}

void BodyAdjustmentDialog::on_doubleSpinBox_ez_valueChanged(double /*value*/)
{
    calcNormalizedUnitVector();
}

void BodyAdjustmentDialog::on_doubleSpinBox_ey_valueChanged(double /*value*/)
{
    calcNormalizedUnitVector();
}

void BodyAdjustmentDialog::on_doubleSpinBox_ex_valueChanged(double /*value*/)
{
    calcNormalizedUnitVector();
}

void BodyAdjustmentDialog::calcNormalizedUnitVector()
{
    bsVector direction(m_form->doubleSpinBox_ex->value(), m_form->doubleSpinBox_ey->value(),
                       m_form->doubleSpinBox_ez->value());
    direction.normalize();
    m_form->label_ex->setText(QString::number(direction.x, 'f', 3));
    m_form->label_ey->setText(QString::number(direction.y, 'f', 3));
    m_form->label_ez->setText(QString::number(direction.z, 'f', 3));
    m_canvas->setAllEmissions(direction.x, direction.y, direction.z,
                              m_form->doubleSpinBox_alpha->value());
}

// Live data ---------------------------------------------------------------------------------------

int BodyAdjustmentDialog::receiveLine(const char *lineType, const char *line)
{
    ChosenBodyTracking::Outcome outcome;
    const bool wellFormed = m_tracking.receive(lineType, line, &outcome);
    if (outcome != ChosenBodyTracking::Outcome::NothingToTell)
        emit set_chosen_body_tracked(outcome == ChosenBodyTracking::Outcome::Tracked);
    return wellFormed ? 0 : -1;
}

void BodyAdjustmentDialog::update_track()
{
    if (!m_online || !m_chosen.isValid())
        return;
    const bool isStandard = isStandardType(m_chosen.type);
    if (!isStandard && !isVimbarType(m_chosen.type)) {
        if (m_unknownTypeBoxOpen)
            return;
        m_unknownTypeBoxOpen = true;
        const QPointer<BodyAdjustmentDialog> guard(this);
        runBox(QMessageBox::Information, tr("[Quorellib] Error"),
               tr("Unknown body type.\nGoing offline..."), QMessageBox::Ok, QMessageBox::Ok);
        if (guard)
            m_unknownTypeBoxOpen = false;
        return;
    }
    const TrackedPose pose = isStandard ? m_tracking.standardPose() : m_tracking.vimbarPose();
    const bool tracked = pose.quality == 1.0F && pose.id == m_chosen.index;
    m_canvas->setTrackedPose(pose.rotation, pose.position, tracked);
}

QMessageBox::StandardButton BodyAdjustmentDialog::runBox(QMessageBox::Icon icon,
                                                         const QString &title, const QString &text,
                                                         QMessageBox::StandardButtons buttons,
                                                         QMessageBox::StandardButton defaultButton)
{
    // The host may end inside the box's event loop and take the dialog along.
    const QPointer<BodyAdjustmentDialog> guard(this);
    ++m_openBoxes;
    const QMessageBox::StandardButton answer =
        runMessageBox(this, icon, title, text, buttons, defaultButton);
    if (guard)
        --m_openBoxes;
    return answer;
}

QMessageBox::StandardButton BodyAdjustmentDialog::ask(QMessageBox::Icon icon, const QString &title,
                                                      const QString &text,
                                                      QMessageBox::StandardButtons buttons,
                                                      QMessageBox::StandardButton defaultButton)
{
    const QPointer<BodyAdjustmentDialog> guard(this);
    const bool wasVisible = isVisible();
    const QMessageBox::StandardButton answer = runBox(icon, title, text, buttons, defaultButton);
    const bool isStillAsked = guard && (isVisible() || !wasVisible);
    return isStillAsked ? answer : QMessageBox::NoButton;
}
