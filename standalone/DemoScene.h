#pragma once

#include <QImage>
#include <QPoint>
#include <QRect>
#include <QString>
#include <QWidget>

class QMenu;
class QMessageBox;
class QTableWidget;

/// What a user of the demonstration sees: the windows, found by what they hold, and pictures of
/// them. What is found belongs to others and may be gone after the next event.
class DemoScene {
public:
    /// @param mainWindow  not owned
    explicit DemoScene(QWidget *mainWindow);

    QWidget *mainWindow() const { return m_mainWindow; }
    /// The adjustment dialog; null while it is not open.
    QWidget *dialog() const;
    /// Asks for the axes to set; null while it is not open.
    QWidget *axisDialog() const;
    QMessageBox *messageBox() const;
    QMenu *openMenu() const;
    /// The dialog's 3D view; null while it is not shown.
    QWidget *view() const;
    /// The table of the markers' positions; null while it is not shown.
    QTableWidget *table() const;
    /// A child of the dialog; null if there is none of that name.
    template <typename Widget>
    Widget *inDialog(const char *name) const
    {
        const QWidget *window = dialog();
        return window ? window->findChild<Widget *>(QString::fromLatin1(name)) : nullptr;
    }
    /// A child of the dialog that can be used now.
    bool isEnabled(const char *name) const;
    /// For a report; empty if the main window stands alone.
    QString openWindows() const;

    /// The screen where the windows are. Null where the window system shows nothing of them.
    struct Picture {
        QImage image;
        QImage view; ///< the part of it that is the 3D view; null without one
    };
    Picture grab() const;

private:
    QWidget *front() const;
    QRect area() const;

    QWidget *m_mainWindow;
};
