#pragma once

#include "BodyChanges.h"
#include "BodyIdentity.h"
#include "ViewMenus.h"

#include <host/Requester.h>
#include <model/abcAxis.h>
#include <protocol/BodyCatalogue.h>
#include <protocol/BodyWriter.h>
#include <protocol/ChosenBodyTracking.h>
#include <protocol/CommandChannel.h>
#include <protocol/TrackingSession.h>

#include <QDialog>
#include <QIcon>
#include <QMessageBox>
#include <QString>
#include <QVector>

#include <memory>

class BodyAdjustmentMessageReceiver;
class BodyList;
class BodyTable;
class GLCanvas;
class IOManager;
class QTimer;
class SetAxisDialog;
struct BackendVersions;

namespace Ui {
class BodyAdjustmentDialogClass;
}

/// The module's one window: choose a body, change its coordinate system, write it back.
///
/// Created once, shown modally any number of times; each opening reads everything from the
/// controller anew. Data lines may arrive on another thread; everything else belongs on the GUI
/// thread.
class BodyAdjustmentDialog : public QDialog, public Requester {
    Q_OBJECT

public:
    /// None of the arguments is owned; the service and the versions must outlive the dialog.
    BodyAdjustmentDialog(IOManager *manager, QWidget *parent, BackendVersions *versions);
    ~BodyAdjustmentDialog() override;

    /// Takes the dialog out of the host's message routing and stops polling.
    void detachFromHost();

    /// May be called on any thread. A line that comes while another one is read is dropped.
    /// @return -1 for a malformed line, otherwise 0
    int receiveLine(const char *lineType, const char *line) override;
    int reserved1() override { return 0; }
    int reserved2() override { return 0; }

signals:
    /// Emitted on the thread that delivered the data line.
    void set_chosen_body_tracked(bool status);

public slots:
    /// Opens the dialog. @return the result of exec()
    int update_and_exec();
    void on_redo_button_clicked();
    void on_undo_button_clicked();
    void on_pushButton_deleteMarker_clicked();
    void on_doubleSpinBox_alpha_valueChanged(double);
    void on_doubleSpinBox_ez_valueChanged(double);
    void on_doubleSpinBox_ey_valueChanged(double);
    void on_doubleSpinBox_ex_valueChanged(double);
    void calcNormalizedUnitVector();
    void enableEmissionTab(bool b);
    void keyPressEvent(QKeyEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void onReceiveOpenBodyAdjustmentDialog(QString src, QString msg);
    void on_online_checkbox_clicked();
    void on_reset_view_button_clicked();
    void on_help_button_clicked();
    void on_ok_button_clicked();
    void on_apply_button_clicked();
    void reject() override;
    void can_set_origin_to_marker_slot(bool can_set);
    void set_origin_to_marker();
    void on_set_origin_cog_button_clicked();
    void can_set_axis_slot(bool can_set);
    void set_axis();
    void on_adjust_axes_to_room_button_clicked();
    void on_pushButton_due_to_body_clicked();
    void on_pushButton_due_to_room_clicked();
    void on_pushButton_due_to_room_0_clicked();
    /// Loads the body at a position of the body list; -1: no body.
    void update_current_body(int index, bool show_msg = true);
    void update_after_apply(int index);
    void update_track();
    void toggled_small_markers();
    void toggled_colored_markers();
    void toggled_long_axes();
    void toggled_show_COG();
    void toggled_show_XY();
    void toggled_show_YZ();
    void toggled_show_XZ();
    void toggled_show_room_ori();
    void toggled_switch_view();
    void toggled_marker_emissions();
    void table_body_change();
    void apply_button_enable(bool can_apply = true);
    void update_room_buttons(bool status);
    void enable_undo_disable_redo();
    void onCanDeleteMarker();

protected:
    void changeEvent(QEvent *event) override;

private:
    Q_DISABLE_COPY(BodyAdjustmentDialog)

    /// What the icon beside the body list tells.
    enum class BodyState { None, Tracked, NotTracked, NotCalibrated };

    void createCanvasAndMenus();
    /// What screen readers tell of the controls.
    void nameControls();
    void retranslate();
    void configureValueWidgets();
    void connectWidgets();

    void readControllerState();
    void buildBodyList();
    QString openingText() const;
    bool chooseRequestedBody();
    void loadBodyPointedAt(int position);
    void setChosenBody(const ListedBody &body);
    void chooseNoBody();
    /// @return false if the entry or its markers could not be read, or the dialog has gone
    bool loadChosenBody(int index, bool alwaysEnableEditing);
    bool showCalibratedBody(bool alwaysEnableEditing);
    void showUncalibratedBody();
    void chooseShownBody();
    void emptyCanvas();
    void setViewControlsEnabled(bool enabled);
    void enableEditing();
    void disableEditing();
    void setTabsEnabled(bool enabled);
    void setRoomButtonsEnabled(bool enabled);
    void setOnlineBoxFromState();
    void setErrorText(const QString &text);
    void showBodyState(BodyState state);
    bool hasCylinderMarkers() const;
    QString captionOfChosenBody() const;

    /// Counts a value that is typed but not confirmed as finished.
    void finishOpenEdits();
    void finishViewEdits();
    bool isChosenBodyShown() const;
    /// False: Undo and Redo are the canvas's.
    bool canUndoDeletion() const;
    bool canRedoDeletion() const;
    void refreshEditButtons();
    void afterOperation(bool done);
    void runRoomPreset(bool (GLCanvas::*preset)());
    void sayIfNotTracked();
    void refillTable();

    /// Writes the transform of the body in the canvas.
    void writeTransform();
    void restoreController();
    void answerRequest();

    bool canDeleteMarkers() const;
    void showDeletion();
    void showMarkersAgain();
    void toggle(bool DisplayFlags::*flag, void (GLCanvas::*setShown)(bool));

    /// Runs a message box. @return the button, or NoButton if the dialog was destroyed meanwhile;
    /// nothing of the dialog may be touched then
    QMessageBox::StandardButton runBox(QMessageBox::Icon icon, const QString &title,
                                       const QString &text, QMessageBox::StandardButtons buttons,
                                       QMessageBox::StandardButton defaultButton);
    /// Runs a message box. @return the button, or NoButton if the dialog was destroyed or hidden
    /// meanwhile: the host ended, and the answer is for nobody
    QMessageBox::StandardButton ask(QMessageBox::Icon icon, const QString &title,
                                    const QString &text, QMessageBox::StandardButtons buttons,
                                    QMessageBox::StandardButton defaultButton);

    std::unique_ptr<Ui::BodyAdjustmentDialogClass> m_form;
    CommandChannel m_channel;
    BodyCatalogue m_catalogue;
    BodyWriter m_writer;
    TrackingSession m_session;
    BodyChanges m_changes; ///< of the bodies in the list and of the one in the canvas
    BodyAdjustmentMessageReceiver *m_messageReceiver = nullptr;
    bool m_receiverRegistered = false;

    QIcon m_lockIcon;
    BodyState m_bodyState = BodyState::None;

    QTimer *m_pollTimer = nullptr;
    SetAxisDialog *m_setAxisDialog = nullptr;
    BodyList *m_bodyList = nullptr;
    GLCanvas *m_canvas = nullptr;
    BodyTable *m_table = nullptr;
    DisplayFlags m_display;

    bool m_readOnly = false;
    bool m_online = false;
    bool m_running = false;         ///< between opening and the end of exec()
    bool m_hasBeenShown = false;    ///< since the last opening
    bool m_controllerTaken = false; ///< multi-user and reference are to be restored
    bool m_subscribed = false;
    bool m_unknownTypeBoxOpen = false;
    bool m_askingToDiscard = false;
    bool m_multiUserWarning = false;
    QString m_openingText; ///< what the error label tells of the whole session
    int m_openBoxes = 0;

    ListedBody m_chosen;

    QString m_requestingModule;
    QString m_requestedBody;
    struct Request {
        QString source;
        QString body;
    };
    QVector<Request> m_waitingRequests; ///< that came while the dialog was closing

    ChosenBodyTracking m_tracking;
};
