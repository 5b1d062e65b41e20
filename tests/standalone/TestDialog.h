#pragma once

#include "TestView.h"

#include <host/IOManager.h>
#include <host/Requester.h>

#include <QDialog>
#include <QVector>

#include <Eigen/Core>

#include <map>
#include <mutex>

class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QPushButton;
class QStackedWidget;
class QTableWidget;
class QTimer;

/// A body adjustment as small as it can be, with the widget names of the real one.
///
/// The environment variable TEST_MODULE_ERROR_DEG makes it turn a body by so much too far;
/// TEST_MODULE_FAULT names one thing that it does wrong (see the uses of isFaulty()).
class TestDialog : public QDialog, public Requester {
    Q_OBJECT

public:
    /// @param manager  not owned
    TestDialog(IOManager *manager, QWidget *parent);
    ~TestDialog() override;

    int receiveLine(const char *lineType, const char *line) override;
    int reserved1() override { return 0; }
    int reserved2() override { return 0; }

public slots:
    void open() override;

protected:
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    struct Frame {
        Eigen::Matrix3d axes = Eigen::Matrix3d::Identity();
        Eigen::Vector3d origin = Eigen::Vector3d::Zero();
    };

    QPushButton *addButton(const char *name, void (TestDialog::*slot)());
    void build();
    void readBodyList();
    void chooseBody(int index);
    bool readMarkers();
    void commit(const Frame &frame);
    void refresh();
    void fillTable();
    void originToCog();
    void finishTurn();
    void setAxis();
    void adjustToRoom();
    void undo();
    void redo();
    void apply();
    void openViewMenu(const QPoint &place);
    void openTableMenu(const QPoint &place);
    void pollTracking();

    IOManager *m_manager;
    QComboBox *m_bodies = nullptr;
    QStackedWidget *m_pages = nullptr;
    TestView *m_view = nullptr;
    QTableWidget *m_table = nullptr;
    QDoubleSpinBox *m_fields[3] = {};
    QCheckBox *m_online = nullptr;
    std::map<QString, QPushButton *> m_buttons;
    QTimer *m_poll = nullptr;

    int m_index = -1;
    int m_number = 0;
    Frame m_frame;
    QVector<Frame> m_undo;
    QVector<Frame> m_redo;

    std::mutex m_mutex; ///< guards the one below
    std::map<int, Eigen::Matrix3d> m_tracked;
};
