#include <dialog/BodyAdjustmentMessageReceiver.h>
#include <tests/support/TestMain.h>

#include <QSignalSpy>
#include <QtTest>

class TestBodyAdjustmentMessageReceiver : public QObject {
    Q_OBJECT

private slots:
    void requestsAreRecognised_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<bool>("isRequest");
        QTest::addColumn<QString>("body");
        QTest::newRow("a standard body")
            << QByteArray("OpenBodyAdjustmentDialog standard|3") << true << "standard|3";
        QTest::newRow("no blank") << QByteArray("OpenBodyAdjustmentDialog") << true << "";
        QTest::newRow("further letters before the blank")
            << QByteArray("OpenBodyAdjustmentDialogNow standard|1") << true << "standard|1";
        QTest::newRow("a further word")
            << QByteArray("OpenBodyAdjustmentDialog vimbar|2 extra") << true << "vimbar|2 extra";
        QTest::newRow("two blanks")
            << QByteArray("OpenBodyAdjustmentDialog  standard|1") << true << " standard|1";
        QTest::newRow("Latin-1 letters") << QByteArray("OpenBodyAdjustmentDialog K\xf6rper|1")
                                         << true << QString::fromLatin1("K\xf6rper|1");
        QTest::newRow("other case")
            << QByteArray("openBodyAdjustmentDialog standard|1") << false << "";
        QTest::newRow("preceded by a blank")
            << QByteArray(" OpenBodyAdjustmentDialog standard|1") << false << "";
        QTest::newRow("cut short") << QByteArray("OpenBodyAdjustmentDialo") << false << "";
        QTest::newRow("empty") << QByteArray("") << false << "";
        QTest::newRow("format characters")
            << QByteArray("OpenBodyAdjustmentDialog %s%n") << true << "%s%n";
    }

    void requestsAreRecognised()
    {
        QFETCH(QByteArray, text);
        QFETCH(bool, isRequest);
        QFETCH(QString, body);
        BodyAdjustmentMessageReceiver receiver(nullptr);
        QSignalSpy spy(&receiver, &BodyAdjustmentMessageReceiver::OpenBodyAdjustmentDialog);
        QCOMPARE(receiver.receiveMessage(17, "Calibration", text.constData()), 0);
        QCOMPARE(spy.count(), isRequest ? 1 : 0);
        if (isRequest) {
            QCOMPARE(spy.at(0).at(0).toString(), QStringLiteral("Calibration"));
            QCOMPARE(spy.at(0).at(1).toString(), body);
        }
    }

    void metaObjectHasOneSignalAndNoSlot()
    {
        const QMetaObject &meta = BodyAdjustmentMessageReceiver::staticMetaObject;
        QCOMPARE(meta.methodCount() - meta.methodOffset(), 1);
        QCOMPARE(meta.method(meta.methodOffset()).methodSignature(),
                 QByteArray("OpenBodyAdjustmentDialog(QString,QString)"));
        QCOMPARE(meta.method(meta.methodOffset()).methodType(), QMetaMethod::Signal);
        QCOMPARE(meta.method(meta.methodOffset()).parameterNames(),
                 (QList<QByteArray>{"src", "msg"}));
    }

    void metacastAnswersToBothNames()
    {
        BodyAdjustmentMessageReceiver receiver(nullptr);
        QCOMPARE(receiver.qt_metacast("BodyAdjustmentMessageReceiver"),
                 static_cast<void *>(&receiver));
        QCOMPARE(receiver.qt_metacast("MessageReceiver"),
                 static_cast<void *>(static_cast<MessageReceiver *>(&receiver)));
        QCOMPARE(receiver.qt_metacast("Requester"), nullptr);
    }
};

QUOREL2_TEST_MAIN(TestBodyAdjustmentMessageReceiver)
#include "tst_BodyAdjustmentMessageReceiver.moc"
