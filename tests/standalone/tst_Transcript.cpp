#include <standalone/Transcript.h>
#include <tests/support/TestMain.h>

#include <QTemporaryDir>
#include <QtTest>

class TranscriptTest : public QObject {
    Q_OBJECT

private slots:
    void everyExchangeIsARequestAndAReply();
    void aMissingReplyIsToldByItsReason();
    void aRequestNeverTakesMoreThanALine();
    void aReplyNeverTakesMoreThanALine();
    void anUnaskedLineIsAComment();
    void linesAreThereAtOnce();
    void aNewTranscriptReplacesAnOldOne();
    void aFileThatCannotBeWrittenIsTold();
    void withoutAFileNothingHappens();
};

namespace {

Exchange exchange(const QByteArray &request, const QByteArray &reply)
{
    Exchange result;
    result.request = request;
    result.reply = reply;
    result.replied = true;
    result.status = ExchangeStatus::Done;
    return result;
}

QByteArray content(const QString &fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("unreadable");
}

} // namespace

void TranscriptTest::everyExchangeIsARequestAndAReply()
{
    QTemporaryDir folder;
    const QString fileName = folder.filePath(QStringLiteral("transcript.txt"));
    Transcript transcript;
    QString error;
    QVERIFY(transcript.open(fileName, &error));
    transcript.add(exchange("quorel2 get status active", "quorel2 set status active mea"));
    Exchange refused = exchange("quorel2 set a b", "quorel2 err no such parameter");
    refused.status = ExchangeStatus::Refused;
    transcript.add(refused);
    QCOMPARE(content(fileName), QByteArray("> quorel2 get status active\n"
                                           "< quorel2 set status active mea\n"
                                           "> quorel2 set a b\n"
                                           "< quorel2 err no such parameter\n"));
}

void TranscriptTest::aMissingReplyIsToldByItsReason()
{
    QTemporaryDir folder;
    const QString fileName = folder.filePath(QStringLiteral("transcript.txt"));
    Transcript transcript;
    QString error;
    QVERIFY(transcript.open(fileName, &error));
    Exchange failed = exchange("quorel2 tracking start", QByteArray());
    failed.replied = false;
    failed.status = ExchangeStatus::TimedOut;
    transcript.add(failed);
    QCOMPARE(content(fileName), QByteArray("> quorel2 tracking start\n! timed out\n"));
}

void TranscriptTest::aRequestNeverTakesMoreThanALine()
{
    QTemporaryDir folder;
    const QString fileName = folder.filePath(QStringLiteral("transcript.txt"));
    Transcript transcript;
    QString error;
    QVERIFY(transcript.open(fileName, &error));
    Exchange refused = exchange(QByteArray("a\nb\r\0c", 6), QByteArray());
    refused.replied = false;
    refused.status = ExchangeStatus::BadRequest;
    transcript.add(refused);
    QCOMPARE(content(fileName), QByteArray("> a\\nb\\r\\0c\n! bad request\n"));
}

void TranscriptTest::aReplyNeverTakesMoreThanALine()
{
    QTemporaryDir folder;
    const QString fileName = folder.filePath(QStringLiteral("transcript.txt"));
    Transcript transcript;
    QString error;
    QVERIFY(transcript.open(fileName, &error));
    transcript.add(exchange("a", QByteArray("b\rc\0d", 5)));
    QCOMPARE(content(fileName), QByteArray("> a\n< b\\rc\\0d\n"));
}

void TranscriptTest::anUnaskedLineIsAComment()
{
    QTemporaryDir folder;
    const QString fileName = folder.filePath(QStringLiteral("transcript.txt"));
    Transcript transcript;
    transcript.addUnasked("nowhere");
    QString error;
    QVERIFY(transcript.open(fileName, &error));
    transcript.addUnasked(QByteArray("quorel2 warning\rhot\0", 20));
    transcript.add(exchange("a", "b"));
    QCOMPARE(content(fileName), QByteArray("# unasked: quorel2 warning\\rhot\\0\n> a\n< b\n"));
}

void TranscriptTest::linesAreThereAtOnce()
{
    QTemporaryDir folder;
    const QString fileName = folder.filePath(QStringLiteral("transcript.txt"));
    Transcript transcript;
    QString error;
    QVERIFY(transcript.open(fileName, &error));
    for (int i = 0; i < 100; ++i) {
        transcript.add(exchange("request", "reply"));
        QCOMPARE(content(fileName).count('\n'), 2 * (i + 1));
    }
}

void TranscriptTest::aNewTranscriptReplacesAnOldOne()
{
    QTemporaryDir folder;
    const QString fileName = folder.filePath(QStringLiteral("transcript.txt"));
    Transcript transcript;
    QString error;
    QVERIFY(transcript.open(fileName, &error));
    transcript.add(exchange("old", "old"));
    QVERIFY(transcript.open(fileName, &error));
    QCOMPARE(content(fileName), QByteArray());
}

void TranscriptTest::aFileThatCannotBeWrittenIsTold()
{
    Transcript transcript;
    QString error;
    QVERIFY(!transcript.open(QStringLiteral("/nowhere/transcript.txt"), &error));
    QVERIFY(!error.isEmpty());
}

void TranscriptTest::withoutAFileNothingHappens()
{
    QTemporaryDir folder;
    const QString fileName = folder.filePath(QStringLiteral("transcript.txt"));
    Transcript transcript;
    transcript.add(exchange("a", "b"));
    // Nor is it kept for the file that comes later.
    QString error;
    QVERIFY(transcript.open(fileName, &error));
    QCOMPARE(content(fileName), QByteArray());
}

QUOREL2_TEST_MAIN(TranscriptTest)
#include "tst_Transcript.moc"
