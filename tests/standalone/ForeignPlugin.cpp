#include <QObject>
#include <QtPlugin>

/// A plug-in of Qt's kind that is no module.
class ForeignPlugin : public QObject {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "org.example.Foreign")
};

#include "ForeignPlugin.moc"
