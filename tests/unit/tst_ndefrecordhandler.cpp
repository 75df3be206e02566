// Unit tests of NdefRecordHandler: classification of a record, text selection and decoding, support
// and content actions, the default application database and the record data files.
#include <QtTest>

#include <QDataStream>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QPointer>
#include <QSharedPointer>
#include <QTemporaryFile>
#include <QUrl>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include "defaultsfile.h"
#include "fakeplatform.h"
#include "ndefmessage.h"
#include "ndefrecord.h"
#include "ndefrecordhandler.h"
#include "ndefrecordhandler_p.h"
#include "ndefwriter.h"
#include "smartposterndefrecord.h"
#include "testsupport.h"
#include "textndefrecord.h"
#include "urindefrecord.h"

Q_DECLARE_METATYPE(NdefWriter::Record)

namespace ConnUi {

// The URI string, the record key and the in-memory database, which the handler keeps to itself.
class NdefRecordExaminer
{
public:
    static QString uriString(const NdefRecordHandler& handler) { return handler.d->uriString(); }
    static QString recordType(const NdefRecordHandler& handler) { return handler.d->recordType(); }
    static QHash<QString, QString> database(const NdefRecordHandler& handler)
    {
        return handler.d->defaultApplicationDatabase;
    }
};

} // namespace ConnUi

using ConnUi::NdefRecordHandler;
using namespace DefaultsFile;
using ConnUi::NdefRecordExaminer;

namespace {

// ---------------------------------------------------------------------------------------------------
// Warnings: every warning is captured, each test takes the ones it expects and any other fails it.

QStringList capturedWarnings;
QtMessageHandler previousHandler = nullptr;

void captureWarnings(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (type == QtWarningMsg)
        capturedWarnings.append(message);
    else
        previousHandler(type, context, message);
}

QStringList takeWarnings()
{
    const QStringList warnings = capturedWarnings;
    capturedWarnings.clear();
    return warnings;
}

QStringList times(int count, const QString& warning)
{
    QStringList warnings;
    for (int i = 0; i < count; ++i)
        warnings.append(warning);
    return warnings;
}

const QString invalidUtf8UriWarning =
    QStringLiteral("NdefRecordHandler: URI NDEF record contained URI with invalid UTF-8");
const QString invalidExternalWarning =
    QStringLiteral("NdefRecordHandler: External NDEF record contained invalid UTF-8");
const QString emptyListWarning = QStringLiteral("NdefRecordHandler: Unable to select text record from empty list!");
const QString noTextWarning = QStringLiteral("NdefRecordHandler: unable to get text from TextNDEFRecord");
const QString tempFileWarning = QStringLiteral("temp file writting failed - handling mime tag. ");
const QString corruptContactWarning = QStringLiteral("Tag contains corrupted contact information");

QString noDataWarning(const QString& uri)
{
    return QStringLiteral("NdefRecordHandler: URI '%1' does not have valid data").arg(uri);
}

// ---------------------------------------------------------------------------------------------------
// Handlers and files

// Deletes a handler together with its data file, so that no file waits 20 seconds for its removal
// after the test; the delayed removal itself has a test of its own.
struct DiscardWithDataFile
{
    static void cleanup(NdefRecordHandler* handler)
    {
        if (!handler)
            return;
        QTemporaryFile* file = handler->dataFile();
        delete handler;
        delete file;
    }
};
using Handler = QScopedPointer<NdefRecordHandler, DiscardWithDataFile>;

// The pairs of the database file in file order.
QList<QPair<QString, QString>> databasePairs()
{
    QList<QPair<QString, QString>> pairs;
    QFile file(databasePath());
    if (!file.open(QIODevice::ReadOnly))
        return pairs;
    QDataStream stream(&file);
    stream.setVersion(QDataStream::Qt_4_6);
    quint32 count = 0;
    stream >> count;
    for (quint32 i = 0; i < count && stream.status() == QDataStream::Ok; ++i) {
        QString key;
        QString value;
        stream >> key >> value;
        pairs.append(qMakePair(key, value));
    }
    return pairs;
}

QStringList actionNames(const QList<ContentAction::Action>& actions)
{
    QStringList names;
    for (const ContentAction::Action& action : actions)
        names.append(action.isValid() ? action.name() : FakePlatform::invalidAction());
    return names;
}

QStringList contentActionCalls()
{
    return TestSupport::callsWithPrefix(QStringLiteral("ContentAction::"));
}

QVariantList argumentsOfOnlyCall(const QString& name)
{
    const QList<FakeCall> calls = FakePlatform::callsTo(name);
    return calls.size() == 1 ? calls.first().args : QVariantList();
}

QString dataFileUrl(const NdefRecordHandler& handler)
{
    return QUrl::fromLocalFile(handler.dataFile()->fileName()).toString();
}

// While alive, every attempt to open a file fails (EMFILE): the soft limit on open files is lowered
// to the lowest free descriptor. Unlike file permissions this holds for root too.
class NoFreeFileDescriptors
{
public:
    NoFreeFileDescriptors()
    {
        getrlimit(RLIMIT_NOFILE, &m_saved);
        const int lowestFree = ::open("/dev/null", O_RDONLY);
        ::close(lowestFree);
        rlimit limit = m_saved;
        limit.rlim_cur = rlim_t(lowestFree);
        setrlimit(RLIMIT_NOFILE, &limit);
    }
    ~NoFreeFileDescriptors() { setrlimit(RLIMIT_NOFILE, &m_saved); }

private:
    Q_DISABLE_COPY(NoFreeFileDescriptors)
    rlimit m_saved;
};

} // namespace

class tst_NdefRecordHandler : public QObject
{
    Q_OBJECT

private:
    // The records of one message, which stays alive until the test function ends.
    QList<const NDEFRecord*> parse(const QList<NdefWriter::Record>& records);
    const NDEFRecord* parse(const NdefWriter::Record& record) { return parse(QList<NdefWriter::Record>{record}).value(0); }
    QList<const TextNDEFRecord*> parseTexts(const QStringList& languages);

    QList<QSharedPointer<NDEFMessage>> m_messages;

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();

    // Classification
    void nullRecordIsUnsupportedAndHasNoKey();
    void recordKey_data();
    void recordKey();
    void recordKeyOfUnsavableMimeRecordIsItsTypeName();
    void recordKeyStartsWithCallerPrefix();
    void uriValidation_data();
    void uriValidation();
    void uriWithInvalidUtf8IsRejected();
    void uriWithNulByteIsRejected();
    void rejectedUriWarnsOnEveryQuery();
    void uriString_data();
    void uriString();
    void smartPosterUriIsItsUriSubRecord();
    void smartPosterWithoutUriHasNoUri();
    void callAndSmsUris_data();
    void callAndSmsUris();
    void externalTypeIsWholeTypeName_data();
    void externalTypeIsWholeTypeName();
    void externalQueriesOfOtherRecordsAreNull();
    void externalTypeContentIsPayloadText();
    void externalTypeContentWithInvalidUtf8IsNull();
    void externalTypeContentWithNulByteIsNull();
    void emptyExternalPayloadGivesEmptyContent();
    void mimeTypeIsTypeNameOfMimeRecord();
    void mimeTypeOfOtherRecordIsNullWithoutDataFile();

    // Support and content actions
    void textRecordIsSupportedAndPredefined();
    void uriActionsComeFromString();
    void uriFallsBackToSchemeWithoutStringActions();
    void uriFallsBackToSchemeWhenFirstStringActionIsInvalid();
    void uriSchemeActionsAreKeptAsTheyCome();
    void uriWithoutActionsIsUnsupported();
    void fileUriUsesFileActions();
    void predefinedUriSupport_data();
    void predefinedUriSupport();
    void smartPosterIsSupportedThroughItsUri();
    void mimeActionsComeFromGivenType();
    void mimeActionsFallBackToDetectedType();
    void mimeActionsFallBackWhenFirstIsInvalid();
    void mimeWithoutActionsIsUnsupported();
    void otherMimeIsNotPredefined();
    void directoryMimeIsPredefined();
    void contactCardGetsOnlyDefaultAction();
    void contactCardFallsBackToDetectedDefault();
    void contactCardWithoutDefaultActionIsUnsupported();
    void corruptContactCardIsUnsupported();
    void storeLink_data();
    void storeLink();
    void storeLinkWithoutStoreClientIsUnsupported();
    void otherExternalTypeUsesContentActions();
    void externalRecordWithInvalidContentAsksForEmptyText();
    void otherRecordsAreUnsupported_data();
    void otherRecordsAreUnsupported();
    void supportIsResolvedOnce();

    // Text records
    void selectTextRecord_data();
    void selectTextRecord();
    void selectTextRecordFromEmptyListWarns();
    void textRecordOfTextRecordIsItself();
    void textRecordOfSmartPosterIsChosenTitle();
    void smartPosterWithoutTitlesHasNoText();
    void otherRecordsHaveNoText();
    void textString_data();
    void textString();
    void utf16TextShorterThanTwoBytesIsRefused_data();
    void utf16TextShorterThanTwoBytesIsRefused();

    // Default application database
    void noDatabaseGivesNoDefaultApplication();
    void firstChoiceCreatesDatabase();
    void databaseFileMatchesExample();
    void defaultApplicationReadsExampleFile();
    void choicesAreSharedThroughFile();
    void recordsOfSameKeyShareChoice_data();
    void recordsOfSameKeyShareChoice();
    void prefixedKeyKeepsChoicesApart();
    void newChoiceReplacesOldOne();
    void pairsAreWrittenInReverseTableOrder();
    void laterPairHidesEarlierOne();
    void trailingBytesAreIgnored();
    void damagedDatabaseLoadsAsEmptyTable_data();
    void damagedDatabaseLoadsAsEmptyTable();
    void missingDatabaseKeepsTable();
    void unreadableDatabaseKeepsTable();
    void unwritableDatabaseKeepsChoiceInHandlerOnly();

    // Record data files
    void mimePayloadIsSavedToTemporaryFile();
    void emptyPayloadGivesEmptyFile();
    void payloadIsSavedOnlyOnce();
    void contactCardIsValidated_data();
    void contactCardIsValidated();
    void corruptContactCardFileIsRemoved();
    void failedSaveIsTriedAgain();
    void unopenableTemporaryFileGivesNoMimeType();
    void dataFileOutlivesHandlerBy20Seconds();
};

QList<const NDEFRecord*> tst_NdefRecordHandler::parse(const QList<NdefWriter::Record>& records)
{
    NDEFMessage* message = NDEFMessage::createFromData(NdefWriter::message(records));
    if (!message || message->getRecords().size() != records.size()) {
        delete message;
        QTest::qFail("the test records do not parse", __FILE__, __LINE__);
        return QList<const NDEFRecord*>();
    }
    m_messages.append(QSharedPointer<NDEFMessage>(message));
    return message->getRecords();
}

QList<const TextNDEFRecord*> tst_NdefRecordHandler::parseTexts(const QStringList& languages)
{
    QList<NdefWriter::Record> records;
    for (const QString& language : languages)
        records.append(NdefWriter::text(language.toLatin1(), language));
    QList<const TextNDEFRecord*> texts;
    for (const NDEFRecord* record : parse(records))
        texts.append(static_cast<const TextNDEFRecord*>(record));
    return texts;
}

void tst_NdefRecordHandler::initTestCase()
{
    // The suite writes the database into the home directory, which must be a scratch one.
    QVERIFY2(!QFileInfo::exists(nfcDirectoryPath()),
             "~/.nfc exists already; run the suite through scripts/isolated");
    QCOMPARE(ConnUi::NdefRecordHandlerPrivate::databaseFilePath, databasePath());
    previousHandler = qInstallMessageHandler(captureWarnings);
}

void tst_NdefRecordHandler::init()
{
    FakePlatform::reset();
    capturedWarnings.clear();
    QLocale::setDefault(QLocale(QStringLiteral("fi_FI")));
}

void tst_NdefRecordHandler::cleanup()
{
    m_messages.clear();
    removeDatabase();
    const QStringList unexpected = takeWarnings();
    if (!QTest::currentTestFailed())
        QVERIFY2(unexpected.isEmpty(), qPrintable(QStringLiteral("unexpected warnings: ") + unexpected.join(QStringLiteral(" | "))));
}

void tst_NdefRecordHandler::cleanupTestCase()
{
    qInstallMessageHandler(previousHandler);
}

// ---------------------------------------------------------------------------------------------------
// Classification

void tst_NdefRecordHandler::nullRecordIsUnsupportedAndHasNoKey()
{
    Handler handler(new NdefRecordHandler(nullptr));
    QVERIFY(!handler->record());
    QVERIFY(!handler->isSupported());
    QVERIFY(!handler->hasPredefinedSupport());
    QVERIFY(handler->actions().isEmpty());
    QVERIFY(!handler->dataFile());
    QVERIFY(NdefRecordExaminer::recordType(*handler).isNull());
    QVERIFY(handler->defaultApplication().isNull());

    handler->setDefaultApplication(QStringLiteral("App"));
    QVERIFY(!QFileInfo::exists(databasePath()));
    QVERIFY(handler->defaultApplication().isNull());
    QVERIFY(contentActionCalls().isEmpty());
}

void tst_NdefRecordHandler::recordKey_data()
{
    QTest::addColumn<NdefWriter::Record>("record");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QStringList>("warnings");

    QTest::addRow("URI with scheme") << NdefWriter::uri(QStringLiteral("http://host/page")) << "http" << QStringList();
    QTest::addRow("URI without colon") << NdefWriter::uri(QStringLiteral("host/page")) << "http" << QStringList();
    QTest::addRow("relative file URI") << NdefWriter::uri(QStringLiteral("file://a.jpg")) << "file" << QStringList();
    QTest::addRow("Smart Poster with URI")
        << NdefWriter::smartPoster(QStringLiteral("sms:+123?body=hi"), {}) << "sms" << QStringList();
    // Warned once while the handler is built and once for the key.
    QTest::addRow("Smart Poster with rejected URI")
        << NdefWriter::smartPoster(QStringLiteral("tel:"), {}) << "Sp" << times(2, noDataWarning(QStringLiteral("tel:")));
    QTest::addRow("saved MIME record") << NdefWriter::mime("text/x-vCard", "BEGIN:VCARD\r\nEND:VCARD\r\n")
                                       << "text/x-vCard" << QStringList();
    QTest::addRow("external record") << NdefWriter::external("quandel:link", "app") << "quandel:link" << QStringList();
    QTest::addRow("text record") << NdefWriter::text("en", QStringLiteral("Hello")) << "T" << QStringList();
    QTest::addRow("other well-known record") << NdefWriter::raw(1, "Sig", "x") << "Sig" << QStringList();
    QTest::addRow("absolute URI record") << NdefWriter::raw(3, "http://a/b", "x") << "http://a/b" << QStringList();
    QTest::addRow("type name up to NUL") << NdefWriter::raw(3, QByteArray("urn:a\0b", 7), "x") << "urn:a" << QStringList();
    QTest::addRow("empty record") << NdefWriter::raw(0, QByteArray(), QByteArray()) << "" << QStringList();
}

void tst_NdefRecordHandler::recordKey()
{
    QFETCH(NdefWriter::Record, record);
    QFETCH(QString, key);
    QFETCH(QStringList, warnings);

    Handler handler(new NdefRecordHandler(parse(record)));
    QCOMPARE(NdefRecordExaminer::recordType(*handler), key);
    QCOMPARE(takeWarnings(), warnings);
}

void tst_NdefRecordHandler::recordKeyOfUnsavableMimeRecordIsItsTypeName()
{
    const NDEFRecord* record = parse(NdefWriter::mime("image/png", "PNG"));
    Handler handler;
    QString key;
    QString mimeType;
    {
        NoFreeFileDescriptors noFiles;
        handler.reset(new NdefRecordHandler(record));
        key = NdefRecordExaminer::recordType(*handler);
        mimeType = handler->mimeType();
    }
    QCOMPARE(key, QStringLiteral("image/png"));
    QVERIFY(mimeType.isNull());
    QVERIFY(!handler->dataFile());
    QCOMPARE(takeWarnings(), times(3, tempFileWarning)); // construction, key, query
}

void tst_NdefRecordHandler::recordKeyStartsWithCallerPrefix()
{
    Handler handler(new NdefRecordHandler(parse(NdefWriter::uri(QStringLiteral("http://host/page")))));
    handler->setDefaultApplicationKey(QStringLiteral("Sigx"));
    QCOMPARE(NdefRecordExaminer::recordType(*handler), QStringLiteral("Sigxhttp"));

    Handler text(new NdefRecordHandler(parse(NdefWriter::text("en", QStringLiteral("Hello")))));
    text->setDefaultApplicationKey(QStringLiteral("ab"));
    QCOMPARE(NdefRecordExaminer::recordType(*text), QStringLiteral("abT"));
}

void tst_NdefRecordHandler::uriValidation_data()
{
    QTest::addColumn<QString>("uri");
    QTest::addColumn<bool>("accepted");

    QTest::addRow("tel with number") << "tel:+123" << true;
    QTest::addRow("tel alone") << "tel:" << false;
    QTest::addRow("sms with query only") << "sms:?body=hi" << false;
    QTest::addRow("http with fragment only") << "http:#top" << false;
    QTest::addRow("sms with empty piece before query") << "sms::?x" << false;
    QTest::addRow("https alone") << "https:" << false;
    QTest::addRow("callto alone") << "callto:" << false;
    QTest::addRow("tel with empty piece before number") << "tel::+1" << true;
    QTest::addRow("http address") << "http://host/page" << true;
    QTest::addRow("mailto alone") << "mailto:" << true;
    QTest::addRow("no scheme") << "host.org/page" << true;
    QTest::addRow("upper-case scheme alone") << "HTTP:" << true;
    QTest::addRow("upper-case tel alone") << "TEL:" << true;
}

void tst_NdefRecordHandler::uriValidation()
{
    QFETCH(QString, uri);
    QFETCH(bool, accepted);

    const NDEFRecord* record = parse(NdefWriter::uri(uri));
    Handler handler(new NdefRecordHandler(record));
    if (accepted) {
        QCOMPARE(handler->uriRecord(), static_cast<const URINDEFRecord*>(record));
        QVERIFY(!NdefRecordExaminer::uriString(*handler).isEmpty());
        QCOMPARE(takeWarnings(), QStringList());
    } else {
        QVERIFY(!handler->uriRecord());
        QCOMPARE(takeWarnings(), times(2, noDataWarning(uri))); // construction and query
    }
}

void tst_NdefRecordHandler::uriWithInvalidUtf8IsRejected()
{
    Handler handler(new NdefRecordHandler(parse(NdefWriter::raw(1, "U", QByteArray::fromHex("03" "686f73742f" "c328")))));
    QVERIFY(!handler->uriRecord());
    QVERIFY(NdefRecordExaminer::uriString(*handler).isNull());
    QCOMPARE(takeWarnings(), times(3, invalidUtf8UriWarning));
}

void tst_NdefRecordHandler::uriWithNulByteIsRejected()
{
    Handler handler(new NdefRecordHandler(parse(NdefWriter::raw(1, "U", QByteArray::fromHex("05" "2b31" "00" "32")))));
    QVERIFY(!handler->uriRecord());
    QCOMPARE(takeWarnings(), times(2, invalidUtf8UriWarning));
}

void tst_NdefRecordHandler::rejectedUriWarnsOnEveryQuery()
{
    Handler handler(new NdefRecordHandler(parse(NdefWriter::uri(QStringLiteral("tel:")))));
    QCOMPARE(takeWarnings(), QStringList{noDataWarning(QStringLiteral("tel:"))});

    QVERIFY(!handler->uriRecord());
    QVERIFY(!handler->isCallUri());
    QVERIFY(!handler->isSmsUri());
    QCOMPARE(NdefRecordExaminer::recordType(*handler), QStringLiteral("U"));
    QCOMPARE(takeWarnings(), times(4, noDataWarning(QStringLiteral("tel:"))));
}

void tst_NdefRecordHandler::uriString_data()
{
    QTest::addColumn<QString>("uri");
    QTest::addColumn<QString>("uriString");

    QTest::addRow("with scheme") << "http://host/page" << "http://host/page";
    QTest::addRow("without colon") << "host.org/page" << "http://host.org/page";
    QTest::addRow("colon before port only") << "www.host.org:8080/page" << "www.host.org:8080/page";
    QTest::addRow("absolute file") << "file:///x" << "file:///x";
    QTest::addRow("relative file") << "file://x" << "file:///home/user/MyDocs/x";
    QTest::addRow("relative file with name") << "file://a.jpg" << "file:///home/user/MyDocs/a.jpg";
    QTest::addRow("upper-case scheme") << "HTTP://HOST" << "HTTP://HOST";
    QTest::addRow("empty") << "" << "http://";
    QTest::addRow("non-ASCII") << QStringLiteral("http://h\u00f6st/") << QStringLiteral("http://h\u00f6st/");
}

void tst_NdefRecordHandler::uriString()
{
    QFETCH(QString, uri);
    QFETCH(QString, uriString);

    Handler handler(new NdefRecordHandler(parse(NdefWriter::uri(uri))));
    QCOMPARE(NdefRecordExaminer::uriString(*handler), uriString);
}

void tst_NdefRecordHandler::smartPosterUriIsItsUriSubRecord()
{
    const NDEFRecord* record = parse(NdefWriter::smartPoster(QStringLiteral("sms:+123?body=hi"),
                                                             {qMakePair(QByteArray("en"), QStringLiteral("Hi"))}));
    Handler handler(new NdefRecordHandler(record));
    const URINDEFRecord* uri = static_cast<const SmartPosterNDEFRecord*>(record)->getURIRecord();
    QVERIFY(uri);
    QCOMPARE(handler->uriRecord(), uri);
    QCOMPARE(NdefRecordExaminer::uriString(*handler), QStringLiteral("sms:+123?body=hi"));
}

void tst_NdefRecordHandler::smartPosterWithoutUriHasNoUri()
{
    const QByteArray titleOnly = NdefWriter::message({NdefWriter::text("en", QStringLiteral("Title"))});
    Handler handler(new NdefRecordHandler(parse(NdefWriter::raw(1, "Sp", titleOnly))));
    QVERIFY(!handler->uriRecord());
    QVERIFY(NdefRecordExaminer::uriString(*handler).isNull());
    QCOMPARE(NdefRecordExaminer::recordType(*handler), QStringLiteral("Sp"));
}

void tst_NdefRecordHandler::callAndSmsUris_data()
{
    QTest::addColumn<NdefWriter::Record>("record");
    QTest::addColumn<bool>("call");
    QTest::addColumn<bool>("sms");

    QTest::addRow("tel") << NdefWriter::uri(QStringLiteral("tel:+123")) << true << false;
    QTest::addRow("callto") << NdefWriter::uri(QStringLiteral("callto:alice")) << true << false;
    QTest::addRow("sms") << NdefWriter::uri(QStringLiteral("sms:+123")) << false << true;
    QTest::addRow("Smart Poster with tel") << NdefWriter::smartPoster(QStringLiteral("tel:+123"), {}) << true << false;
    QTest::addRow("upper-case TEL") << NdefWriter::uri(QStringLiteral("TEL:+123")) << false << false;
    QTest::addRow("upper-case SMS") << NdefWriter::uri(QStringLiteral("SMS:+123")) << false << false;
    QTest::addRow("http") << NdefWriter::uri(QStringLiteral("http://host")) << false << false;
    QTest::addRow("text") << NdefWriter::text("en", QStringLiteral("tel:+123")) << false << false;
}

void tst_NdefRecordHandler::callAndSmsUris()
{
    QFETCH(NdefWriter::Record, record);
    QFETCH(bool, call);
    QFETCH(bool, sms);

    Handler handler(new NdefRecordHandler(parse(record)));
    QCOMPARE(handler->isCallUri(), call);
    QCOMPARE(handler->isSmsUri(), sms);
}

void tst_NdefRecordHandler::externalTypeIsWholeTypeName_data()
{
    QTest::addColumn<QByteArray>("type");
    QTest::addColumn<QString>("externalType");

    QTest::addRow("short") << QByteArray("quandel:link") << "quandel:link";
    QTest::addRow("case kept") << QByteArray("Orvan.com:Quandel:Link") << "Orvan.com:Quandel:Link";
    QTest::addRow("UTF-8") << QByteArray("ex\xc3\xa4mple.com:t") << QStringLiteral("ex\u00e4mple.com:t");
    QTest::addRow("NUL inside") << QByteArray("a\0b", 3) << QString::fromLatin1("a\0b", 3);
}

void tst_NdefRecordHandler::externalTypeIsWholeTypeName()
{
    QFETCH(QByteArray, type);
    QFETCH(QString, externalType);

    Handler handler(new NdefRecordHandler(parse(NdefWriter::external(type, "content"))));
    QCOMPARE(handler->externalType(), externalType);
    QCOMPARE(handler->externalType().size(), externalType.size());
}

void tst_NdefRecordHandler::externalQueriesOfOtherRecordsAreNull()
{
    Handler uri(new NdefRecordHandler(parse(NdefWriter::uri(QStringLiteral("http://host")))));
    QVERIFY(uri->externalType().isNull());
    QVERIFY(uri->externalTypeContent().isNull());

    Handler mime(new NdefRecordHandler(parse(NdefWriter::mime("text/plain", "quandel:link"))));
    QVERIFY(mime->externalType().isNull());
    QVERIFY(mime->externalTypeContent().isNull());
}

void tst_NdefRecordHandler::externalTypeContentIsPayloadText()
{
    Handler handler(new NdefRecordHandler(parse(NdefWriter::external("example.com:thing", "caf\xc3\xa9 1"))));
    QCOMPARE(handler->externalTypeContent(), QStringLiteral("caf\u00e9 1"));
}

void tst_NdefRecordHandler::externalTypeContentWithInvalidUtf8IsNull()
{
    Handler handler(new NdefRecordHandler(parse(NdefWriter::external("example.com:thing", "caf\xc3"))));
    QVERIFY(handler->externalTypeContent().isNull());
    QCOMPARE(handler->externalType(), QStringLiteral("example.com:thing"));
    QCOMPARE(takeWarnings(), times(2, invalidExternalWarning)); // construction and query
}

void tst_NdefRecordHandler::externalTypeContentWithNulByteIsNull()
{
    Handler handler(new NdefRecordHandler(parse(NdefWriter::external("example.com:thing", QByteArray("ab\0c", 4)))));
    QVERIFY(handler->externalTypeContent().isNull());
    QCOMPARE(takeWarnings(), times(2, invalidExternalWarning));
}

void tst_NdefRecordHandler::emptyExternalPayloadGivesEmptyContent()
{
    Handler handler(new NdefRecordHandler(parse(NdefWriter::external("example.com:thing", QByteArray()))));
    const QString content = handler->externalTypeContent();
    QVERIFY(content.isEmpty());
    QVERIFY(!content.isNull());
}

void tst_NdefRecordHandler::mimeTypeIsTypeNameOfMimeRecord()
{
    Handler handler(new NdefRecordHandler(parse(NdefWriter::mime("image/PNG", "PNG"))));
    QCOMPARE(handler->mimeType(), QStringLiteral("image/PNG"));
    QVERIFY(handler->dataFile());
}

void tst_NdefRecordHandler::mimeTypeOfOtherRecordIsNullWithoutDataFile()
{
    Handler uri(new NdefRecordHandler(parse(NdefWriter::uri(QStringLiteral("http://host")))));
    QVERIFY(uri->mimeType().isNull());
    QVERIFY(!uri->dataFile());

    Handler external(new NdefRecordHandler(parse(NdefWriter::external("image/png", "x"))));
    QVERIFY(external->mimeType().isNull());
    QVERIFY(!external->dataFile());
}

// ---------------------------------------------------------------------------------------------------
// Support and content actions

void tst_NdefRecordHandler::textRecordIsSupportedAndPredefined()
{
    Handler handler(new NdefRecordHandler(parse(NdefWriter::text("en", QStringLiteral("Hello")))));
    QVERIFY(handler->isSupported());
    QVERIFY(handler->hasPredefinedSupport());
    QVERIFY(handler->actions().isEmpty());
    QVERIFY(contentActionCalls().isEmpty());
}

void tst_NdefRecordHandler::uriActionsComeFromString()
{
    FakePlatform::set(QStringLiteral("ContentAction/string/mailto:a@b.org"), QStringList{QStringLiteral("email")});
    FakePlatform::set(QStringLiteral("ContentAction/scheme/mailto:a@b.org"), QStringList{QStringLiteral("other")});

    Handler handler(new NdefRecordHandler(parse(NdefWriter::uri(QStringLiteral("mailto:a@b.org")))));
    QVERIFY(handler->isSupported());
    QVERIFY(!handler->hasPredefinedSupport());
    QCOMPARE(actionNames(handler->actions()), QStringList{QStringLiteral("email")});
    QCOMPARE(contentActionCalls(), QStringList{QStringLiteral("ContentAction::actionsForString")});
    QCOMPARE(argumentsOfOnlyCall(QStringLiteral("ContentAction::actionsForString")),
             QVariantList{QStringLiteral("mailto:a@b.org")});
}

void tst_NdefRecordHandler::uriFallsBackToSchemeWithoutStringActions()
{
    FakePlatform::set(QStringLiteral("ContentAction/scheme/geo:1,2"), QStringList{QStringLiteral("maps")});

    Handler handler(new NdefRecordHandler(parse(NdefWriter::uri(QStringLiteral("geo:1,2")))));
    QVERIFY(handler->isSupported());
    QCOMPARE(actionNames(handler->actions()), QStringList{QStringLiteral("maps")});
    QCOMPARE(contentActionCalls(), (QStringList{QStringLiteral("ContentAction::actionsForString"),
                                                QStringLiteral("ContentAction::actionsForScheme")}));
    QCOMPARE(argumentsOfOnlyCall(QStringLiteral("ContentAction::actionsForScheme")), QVariantList{QStringLiteral("geo:1,2")});
}

void tst_NdefRecordHandler::uriFallsBackToSchemeWhenFirstStringActionIsInvalid()
{
    FakePlatform::set(QStringLiteral("ContentAction/string/http://host"),
                      QStringList{FakePlatform::invalidAction(), QStringLiteral("browser")});
    FakePlatform::set(QStringLiteral("ContentAction/scheme/http://host"), QStringList{QStringLiteral("viewer")});

    Handler handler(new NdefRecordHandler(parse(NdefWriter::uri(QStringLiteral("http://host")))));
    QCOMPARE(actionNames(handler->actions()), QStringList{QStringLiteral("viewer")});
}

void tst_NdefRecordHandler::uriSchemeActionsAreKeptAsTheyCome()
{
    FakePlatform::set(QStringLiteral("ContentAction/scheme/geo:1,2"),
                      QStringList{FakePlatform::invalidAction(), QStringLiteral("maps")});

    Handler handler(new NdefRecordHandler(parse(NdefWriter::uri(QStringLiteral("geo:1,2")))));
    QVERIFY(handler->isSupported());
    QCOMPARE(actionNames(handler->actions()), (QStringList{FakePlatform::invalidAction(), QStringLiteral("maps")}));
}

void tst_NdefRecordHandler::uriWithoutActionsIsUnsupported()
{
    Handler handler(new NdefRecordHandler(parse(NdefWriter::uri(QStringLiteral("tel:+123")))));
    QVERIFY(!handler->isSupported());
    QVERIFY(!handler->hasPredefinedSupport());
    QVERIFY(handler->actions().isEmpty());
    QCOMPARE(contentActionCalls(), (QStringList{QStringLiteral("ContentAction::actionsForString"),
                                                QStringLiteral("ContentAction::actionsForScheme")}));
}

void tst_NdefRecordHandler::fileUriUsesFileActions()
{
    FakePlatform::set(QStringLiteral("ContentAction/file/file:///home/user/MyDocs/a.jpg"),
                      QStringList{QStringLiteral("gallery"), QStringLiteral("editor")});

    Handler handler(new NdefRecordHandler(parse(NdefWriter::uri(QStringLiteral("file://a.jpg")))));
    QVERIFY(handler->isSupported());
    QVERIFY(!handler->hasPredefinedSupport());
    QCOMPARE(actionNames(handler->actions()), (QStringList{QStringLiteral("gallery"), QStringLiteral("editor")}));
    QCOMPARE(contentActionCalls(), QStringList{QStringLiteral("ContentAction::actionsForFile")});
    QCOMPARE(argumentsOfOnlyCall(QStringLiteral("ContentAction::actionsForFile")),
             QVariantList{QStringLiteral("file:///home/user/MyDocs/a.jpg")});
}

void tst_NdefRecordHandler::predefinedUriSupport_data()
{
    QTest::addColumn<QString>("uri");
    QTest::addColumn<int>("actionCount");
    QTest::addColumn<bool>("predefined");

    QTest::addRow("tel, two actions") << "tel:+123" << 2 << true;
    QTest::addRow("callto, two actions") << "callto:alice" << 2 << true;
    QTest::addRow("sms, two actions") << "sms:+123" << 2 << true;
    QTest::addRow("http, one action") << "http://host" << 1 << true;
    QTest::addRow("http, two actions") << "http://host" << 2 << false;
    QTest::addRow("https, one action") << "https://host" << 1 << true;
    QTest::addRow("https, two actions") << "https://host" << 2 << false;
    QTest::addRow("no scheme, one action") << "host.org" << 1 << true;
    QTest::addRow("mailto, one action") << "mailto:a@b.org" << 1 << false;
    QTest::addRow("upper-case HTTP, one action") << "HTTP://HOST" << 1 << false;
    QTest::addRow("upper-case TEL, one action") << "TEL:+123" << 1 << false;
}

void tst_NdefRecordHandler::predefinedUriSupport()
{
    QFETCH(QString, uri);
    QFETCH(int, actionCount);
    QFETCH(bool, predefined);

    Handler probe(new NdefRecordHandler(parse(NdefWriter::uri(uri))));
    const QString uriString = NdefRecordExaminer::uriString(*probe);
    QStringList names;
    for (int i = 0; i < actionCount; ++i)
        names.append(QStringLiteral("app%1").arg(i));
    FakePlatform::set(QStringLiteral("ContentAction/string/") + uriString, names);

    Handler handler(new NdefRecordHandler(parse(NdefWriter::uri(uri))));
    QVERIFY(handler->isSupported());
    QCOMPARE(handler->actions().size(), actionCount);
    QCOMPARE(handler->hasPredefinedSupport(), predefined);
}

void tst_NdefRecordHandler::smartPosterIsSupportedThroughItsUri()
{
    FakePlatform::set(QStringLiteral("ContentAction/scheme/sms:+123?body=hi"),
                      QStringList{QStringLiteral("messaging"), QStringLiteral("other")});

    Handler handler(new NdefRecordHandler(parse(NdefWriter::smartPoster(QStringLiteral("sms:+123?body=hi"), {}))));
    QVERIFY(handler->isSupported());
    QVERIFY(handler->hasPredefinedSupport());
    QCOMPARE(actionNames(handler->actions()), (QStringList{QStringLiteral("messaging"), QStringLiteral("other")}));
}

void tst_NdefRecordHandler::mimeActionsComeFromGivenType()
{
    FakePlatform::set(QStringLiteral("ContentAction/file/*/image/png"),
                      QStringList{QStringLiteral("gallery"), QStringLiteral("editor")});
    FakePlatform::set(QStringLiteral("ContentAction/file/*"), QStringList{QStringLiteral("other")});

    Handler handler(new NdefRecordHandler(parse(NdefWriter::mime("image/png", "PNG"))));
    QVERIFY(handler->isSupported());
    QCOMPARE(actionNames(handler->actions()), (QStringList{QStringLiteral("gallery"), QStringLiteral("editor")}));
    QCOMPARE(contentActionCalls(), QStringList{QStringLiteral("ContentAction::actionsForFile")});
    QCOMPARE(argumentsOfOnlyCall(QStringLiteral("ContentAction::actionsForFile")),
             (QVariantList{dataFileUrl(*handler), QStringLiteral("image/png")}));
}

void tst_NdefRecordHandler::mimeActionsFallBackToDetectedType()
{
    FakePlatform::set(QStringLiteral("ContentAction/file/*"), QStringList{QStringLiteral("viewer")});

    Handler handler(new NdefRecordHandler(parse(NdefWriter::mime("application/x-odd", "data"))));
    QVERIFY(handler->isSupported());
    QCOMPARE(actionNames(handler->actions()), QStringList{QStringLiteral("viewer")});
    const QList<FakeCall> calls = FakePlatform::callsTo(QStringLiteral("ContentAction::actionsForFile"));
    QCOMPARE(calls.size(), 2);
    QCOMPARE(calls.at(0).args, (QVariantList{dataFileUrl(*handler), QStringLiteral("application/x-odd")}));
    QCOMPARE(calls.at(1).args, QVariantList{dataFileUrl(*handler)});
}

void tst_NdefRecordHandler::mimeActionsFallBackWhenFirstIsInvalid()
{
    FakePlatform::set(QStringLiteral("ContentAction/file/*/image/png"),
                      QStringList{FakePlatform::invalidAction(), QStringLiteral("gallery")});
    FakePlatform::set(QStringLiteral("ContentAction/file/*"), QStringList{QStringLiteral("viewer")});

    Handler handler(new NdefRecordHandler(parse(NdefWriter::mime("image/png", "PNG"))));
    QCOMPARE(actionNames(handler->actions()), QStringList{QStringLiteral("viewer")});
}

void tst_NdefRecordHandler::mimeWithoutActionsIsUnsupported()
{
    Handler handler(new NdefRecordHandler(parse(NdefWriter::mime("image/png", "PNG"))));
    QVERIFY(!handler->isSupported());
    QVERIFY(!handler->hasPredefinedSupport());
    QCOMPARE(FakePlatform::count(QStringLiteral("ContentAction::actionsForFile")), 2);
}

void tst_NdefRecordHandler::otherMimeIsNotPredefined()
{
    FakePlatform::set(QStringLiteral("ContentAction/file/*/image/png"), QStringList{QStringLiteral("gallery")});

    Handler handler(new NdefRecordHandler(parse(NdefWriter::mime("image/png", "PNG"))));
    QVERIFY(handler->isSupported());
    QVERIFY(!handler->hasPredefinedSupport());
}

void tst_NdefRecordHandler::directoryMimeIsPredefined()
{
    FakePlatform::set(QStringLiteral("ContentAction/file/*/Text/Directory"),
                      QStringList{QStringLiteral("contacts"), QStringLiteral("editor")});

    Handler handler(new NdefRecordHandler(parse(NdefWriter::mime("Text/Directory", "BEGIN:VCARD\r\nEND:VCARD\r\n"))));
    QVERIFY(handler->isSupported());
    QVERIFY(handler->hasPredefinedSupport());
    QCOMPARE(actionNames(handler->actions()), (QStringList{QStringLiteral("contacts"), QStringLiteral("editor")}));
}

void tst_NdefRecordHandler::contactCardGetsOnlyDefaultAction()
{
    FakePlatform::set(QStringLiteral("ContentAction/defaultFile/*/text/x-vcard"), QStringList{QStringLiteral("contacts")});
    FakePlatform::set(QStringLiteral("ContentAction/file/*/text/x-vcard"),
                      QStringList{QStringLiteral("contacts"), QStringLiteral("editor")});

    Handler handler(new NdefRecordHandler(parse(NdefWriter::mime("text/x-vcard", "BEGIN:VCARD\r\nEND:VCARD\r\n"))));
    QVERIFY(handler->isSupported());
    QVERIFY(handler->hasPredefinedSupport());
    QCOMPARE(actionNames(handler->actions()), QStringList{QStringLiteral("contacts")});
    QCOMPARE(contentActionCalls(), QStringList{QStringLiteral("ContentAction::defaultActionForFile")});
    QCOMPARE(argumentsOfOnlyCall(QStringLiteral("ContentAction::defaultActionForFile")),
             (QVariantList{dataFileUrl(*handler), QStringLiteral("text/x-vcard")}));
}

void tst_NdefRecordHandler::contactCardFallsBackToDetectedDefault()
{
    FakePlatform::set(QStringLiteral("ContentAction/defaultFile/*/TEXT/X-VCARD"), QStringList{FakePlatform::invalidAction()});
    FakePlatform::set(QStringLiteral("ContentAction/defaultFile/*"), QStringList{QStringLiteral("contacts")});

    Handler handler(new NdefRecordHandler(parse(NdefWriter::mime("TEXT/X-VCARD", "BEGIN:VCARD\r\nEND:VCARD\r\n"))));
    QVERIFY(handler->isSupported());
    QVERIFY(handler->hasPredefinedSupport());
    QCOMPARE(actionNames(handler->actions()), QStringList{QStringLiteral("contacts")});
    const QList<FakeCall> calls = FakePlatform::callsTo(QStringLiteral("ContentAction::defaultActionForFile"));
    QCOMPARE(calls.size(), 2);
    QCOMPARE(calls.at(1).args, QVariantList{dataFileUrl(*handler)});
}

void tst_NdefRecordHandler::contactCardWithoutDefaultActionIsUnsupported()
{
    // A contact card by its type, yet without support it has no predefined support either.
    FakePlatform::set(QStringLiteral("ContentAction/file/*"), QStringList{QStringLiteral("editor")});

    Handler handler(new NdefRecordHandler(parse(NdefWriter::mime("text/x-vcard", "BEGIN:VCARD\r\nEND:VCARD\r\n"))));
    QVERIFY(!handler->isSupported());
    QVERIFY(!handler->hasPredefinedSupport());
    QVERIFY(handler->actions().isEmpty());
}

void tst_NdefRecordHandler::corruptContactCardIsUnsupported()
{
    FakePlatform::set(QStringLiteral("ContactExporter/valid"), false);
    FakePlatform::set(QStringLiteral("ContentAction/defaultFile/*/text/x-vcard"), QStringList{QStringLiteral("contacts")});

    Handler handler(new NdefRecordHandler(parse(NdefWriter::mime("text/x-vcard", "garbage"))));
    QVERIFY(!handler->isSupported());
    QVERIFY(!handler->hasPredefinedSupport());
    QVERIFY(contentActionCalls().isEmpty());
    QCOMPARE(takeWarnings(), QStringList{corruptContactWarning});
}

void tst_NdefRecordHandler::storeLink_data()
{
    QTest::addColumn<QByteArray>("type");

    QTest::addRow("short form") << QByteArray("quandel:link");
    QTest::addRow("long form") << QByteArray("orvan.com:quandel:link");
    QTest::addRow("short form, other case, longer") << QByteArray("Quandel:Link:extra");
    QTest::addRow("long form, upper case") << QByteArray("ORVAN.COM:QUANDEL:LINK");
}

void tst_NdefRecordHandler::storeLink()
{
    QFETCH(QByteArray, type);
    FakePlatform::set(QStringLiteral("ContentAction/launcher/quandelclient.desktop"), QStringList{QStringLiteral("quandelclient")});
    FakePlatform::set(QStringLiteral("ContentAction/string/app/123"), QStringList{QStringLiteral("other")});

    Handler handler(new NdefRecordHandler(parse(NdefWriter::external(type, "app/123"))));
    QVERIFY(handler->isSupported());
    QVERIFY(handler->hasPredefinedSupport());
    QCOMPARE(actionNames(handler->actions()), QStringList{QStringLiteral("quandelclient")});
    QCOMPARE(contentActionCalls(), QStringList{QStringLiteral("ContentAction::launcherAction")});
    QCOMPARE(argumentsOfOnlyCall(QStringLiteral("ContentAction::launcherAction")),
             (QVariantList{QStringLiteral("quandelclient.desktop"), QStringList{QStringLiteral("app/123")}}));
}

void tst_NdefRecordHandler::storeLinkWithoutStoreClientIsUnsupported()
{
    Handler handler(new NdefRecordHandler(parse(NdefWriter::external("quandel:link", "app/123"))));
    QVERIFY(!handler->isSupported());
    QVERIFY(!handler->hasPredefinedSupport());
    QVERIFY(handler->actions().isEmpty());
}

void tst_NdefRecordHandler::otherExternalTypeUsesContentActions()
{
    FakePlatform::set(QStringLiteral("ContentAction/string/geo:1,2"), QStringList{QStringLiteral("maps")});

    Handler handler(new NdefRecordHandler(parse(NdefWriter::external("example.com:place", "geo:1,2"))));
    QVERIFY(handler->isSupported());
    QVERIFY(!handler->hasPredefinedSupport());
    QCOMPARE(actionNames(handler->actions()), QStringList{QStringLiteral("maps")});
    QCOMPARE(contentActionCalls(), QStringList{QStringLiteral("ContentAction::actionsForString")});
    QCOMPARE(argumentsOfOnlyCall(QStringLiteral("ContentAction::actionsForString")), QVariantList{QStringLiteral("geo:1,2")});
}

void tst_NdefRecordHandler::externalRecordWithInvalidContentAsksForEmptyText()
{
    FakePlatform::set(QStringLiteral("ContentAction/string/"), QStringList{QStringLiteral("any")});

    Handler handler(new NdefRecordHandler(parse(NdefWriter::external("example.com:place", "\xff"))));
    QCOMPARE(takeWarnings(), QStringList{invalidExternalWarning});
    const QVariantList args = argumentsOfOnlyCall(QStringLiteral("ContentAction::actionsForString"));
    QCOMPARE(args.size(), 1);
    QVERIFY(args.first().toString().isEmpty());
    QVERIFY(handler->isSupported());
}

void tst_NdefRecordHandler::otherRecordsAreUnsupported_data()
{
    QTest::addColumn<NdefWriter::Record>("record");

    QTest::addRow("absolute URI") << NdefWriter::raw(3, "http://host/", "x");
    QTest::addRow("empty") << NdefWriter::raw(0, QByteArray(), QByteArray());
    QTest::addRow("unknown") << NdefWriter::raw(5, QByteArray(), "x");
    QTest::addRow("other well-known") << NdefWriter::raw(1, "Sig", "x");
    QTest::addRow("Smart Poster without URI")
        << NdefWriter::raw(1, "Sp", NdefWriter::message({NdefWriter::text("en", QStringLiteral("Title"))}));
}

void tst_NdefRecordHandler::otherRecordsAreUnsupported()
{
    QFETCH(NdefWriter::Record, record);
    FakePlatform::set(QStringLiteral("ContentAction/string/"), QStringList{QStringLiteral("any")});
    FakePlatform::set(QStringLiteral("ContentAction/file/*"), QStringList{QStringLiteral("any")});

    Handler handler(new NdefRecordHandler(parse(record)));
    QVERIFY(!handler->isSupported());
    QVERIFY(!handler->hasPredefinedSupport());
    QVERIFY(handler->actions().isEmpty());
    QVERIFY(!handler->dataFile());
    QVERIFY(contentActionCalls().isEmpty());
}

void tst_NdefRecordHandler::supportIsResolvedOnce()
{
    FakePlatform::set(QStringLiteral("ContentAction/string/http://host"), QStringList{QStringLiteral("browser")});
    Handler handler(new NdefRecordHandler(parse(NdefWriter::uri(QStringLiteral("http://host")))));
    QVERIFY(handler->hasPredefinedSupport());

    FakePlatform::clearCalls();
    FakePlatform::set(QStringLiteral("ContentAction/string/http://host"),
                      QStringList{QStringLiteral("browser"), QStringLiteral("other")});
    QVERIFY(handler->isSupported());
    QVERIFY(handler->hasPredefinedSupport());
    QCOMPARE(actionNames(handler->actions()), QStringList{QStringLiteral("browser")});
    QVERIFY(contentActionCalls().isEmpty());
}

// ---------------------------------------------------------------------------------------------------
// Text records

void tst_NdefRecordHandler::selectTextRecord_data()
{
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QStringList>("languages");
    QTest::addColumn<int>("chosen");

    QTest::addRow("fi/FI: full match after English") << "fi_FI" << QStringList{"en-US", "fi", "en-GB"} << 1;
    QTest::addRow("fi/FI: first English") << "fi_FI" << QStringList{"en-GB", "sv-FI"} << 0;
    QTest::addRow("fi/FI: first of the list") << "fi_FI" << QStringList{"de", "sv"} << 0;
    QTest::addRow("en/GB: full match") << "en_GB" << QStringList{"en-US", "en-GB"} << 1;
    QTest::addRow("en/GB: language match") << "en_GB" << QStringList{"en-US", "fr"} << 0;
    QTest::addRow("en/GB: last language match") << "en_GB" << QStringList{"en-AU", "en-US"} << 1;
    QTest::addRow("fi/FI: language match beats English") << "fi_FI" << QStringList{"en-US", "fi-SE", "en-GB"} << 1;
    QTest::addRow("fi/FI: full match ends the walk") << "fi_FI" << QStringList{"fi-FI", "fi-SE"} << 0;
    QTest::addRow("one record only") << "fi_FI" << QStringList{"ja"} << 0;
    QTest::addRow("empty tag is not English") << "fi_FI" << QStringList{"", "en-US"} << 1;
    QTest::addRow("empty tag wins as first") << "fi_FI" << QStringList{"", "de"} << 0;
    QTest::addRow("case-insensitive") << "en_GB" << QStringList{"fr", "EN-gb"} << 1;
    QTest::addRow("de/DE: bare tag is a full match") << "de_DE" << QStringList{"de", "de-DE"} << 0;
    QTest::addRow("no country: every language match is full") << "C" << QStringList{"fr", "en-US", "en-GB"} << 1;
}

void tst_NdefRecordHandler::selectTextRecord()
{
    QFETCH(QString, locale);
    QFETCH(QStringList, languages);
    QFETCH(int, chosen);

    QLocale::setDefault(QLocale(locale));
    const QList<const TextNDEFRecord*> records = parseTexts(languages);
    QCOMPARE(records.size(), languages.size());
    QCOMPARE(NdefRecordHandler::selectTextRecord(records), records.at(chosen));
}

void tst_NdefRecordHandler::selectTextRecordFromEmptyListWarns()
{
    QVERIFY(!NdefRecordHandler::selectTextRecord(QList<const TextNDEFRecord*>()));
    QCOMPARE(takeWarnings(), QStringList{emptyListWarning});
}

void tst_NdefRecordHandler::textRecordOfTextRecordIsItself()
{
    const NDEFRecord* record = parse(NdefWriter::text("de", QStringLiteral("Hallo")));
    Handler handler(new NdefRecordHandler(record));
    QCOMPARE(handler->textRecord(), static_cast<const TextNDEFRecord*>(record));
    QCOMPARE(handler->textString(), QStringLiteral("Hallo"));
}

void tst_NdefRecordHandler::textRecordOfSmartPosterIsChosenTitle()
{
    const NDEFRecord* record = parse(NdefWriter::smartPoster(
        QStringLiteral("http://host"),
        {qMakePair(QByteArray("en-US"), QStringLiteral("Hello")), qMakePair(QByteArray("fi-FI"), QStringLiteral("Hei"))}));
    Handler handler(new NdefRecordHandler(record));
    const QList<const TextNDEFRecord*> titles = static_cast<const SmartPosterNDEFRecord*>(record)->getTitleRecords();
    QCOMPARE(titles.size(), 2);
    QCOMPARE(handler->textRecord(), titles.at(1));
    QCOMPARE(handler->textString(), QStringLiteral("Hei"));
}

// The poster's (empty) title list still goes through the selection, which says it has nothing to choose.
void tst_NdefRecordHandler::smartPosterWithoutTitlesHasNoText()
{
    Handler handler(new NdefRecordHandler(parse(NdefWriter::smartPoster(QStringLiteral("http://host"), {}))));
    QVERIFY(!handler->textRecord());
    QCOMPARE(takeWarnings(), QStringList{emptyListWarning});
    QVERIFY(handler->textString().isNull());
    QCOMPARE(takeWarnings(), QStringList{emptyListWarning});
}

void tst_NdefRecordHandler::otherRecordsHaveNoText()
{
    Handler uri(new NdefRecordHandler(parse(NdefWriter::uri(QStringLiteral("http://host")))));
    QVERIFY(!uri->textRecord());
    QVERIFY(uri->textString().isNull());

    Handler mime(new NdefRecordHandler(parse(NdefWriter::mime("text/plain", "plain text"))));
    QVERIFY(!mime->textRecord());
    QVERIFY(mime->textString().isNull());
}

void tst_NdefRecordHandler::textString_data()
{
    QTest::addColumn<bool>("utf16");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("text");

    QTest::addRow("UTF-8") << false << QByteArray("Hyv\xc3\xa4\xc3\xa4 p\xc3\xa4iv\xc3\xa4\xc3\xa4")
                           << QStringLiteral("Hyv\u00e4\u00e4 p\u00e4iv\u00e4\u00e4");
    QTest::addRow("UTF-8 with NUL") << false << QByteArray("a\0b", 3) << QString::fromLatin1("a\0b", 3);
    QTest::addRow("UTF-8 empty") << false << QByteArray() << QString();
    QTest::addRow("UTF-16 big-endian mark") << true << QByteArray::fromHex("feff" "0048" "00e4") << QStringLiteral("H\u00e4");
    QTest::addRow("UTF-16 little-endian mark") << true << QByteArray::fromHex("fffe" "4800" "e400") << QStringLiteral("H\u00e4");
    QTest::addRow("UTF-16 mark alone") << true << QByteArray::fromHex("feff") << QString();
    QTest::addRow("UTF-16 without mark") << true << QByteArray::fromHex("0048" "20ac") << QStringLiteral("H\u20ac");
    QTest::addRow("UTF-16 without mark, odd length") << true << QByteArray::fromHex("0048" "41") << QStringLiteral("H\u4100");
    QTest::addRow("UTF-16 with mark, odd length") << true << QByteArray::fromHex("feff" "0048" "41") << QStringLiteral("H");
}

void tst_NdefRecordHandler::textString()
{
    QFETCH(bool, utf16);
    QFETCH(QByteArray, bytes);
    QFETCH(QString, text);

    const QByteArray payload = QByteArray(1, char((utf16 ? 0x80 : 0x00) | 2)) + "fi" + bytes;
    Handler handler(new NdefRecordHandler(parse(NdefWriter::raw(1, "T", payload))));
    const QString result = handler->textString();
    QCOMPARE(result, text);
    QCOMPARE(result.size(), text.size());
    QVERIFY(!result.isNull());
}

void tst_NdefRecordHandler::utf16TextShorterThanTwoBytesIsRefused_data()
{
    QTest::addColumn<QByteArray>("bytes");

    QTest::addRow("one byte") << QByteArray("A");
    QTest::addRow("no bytes") << QByteArray();
}

void tst_NdefRecordHandler::utf16TextShorterThanTwoBytesIsRefused()
{
    QFETCH(QByteArray, bytes);

    Handler handler(new NdefRecordHandler(parse(NdefWriter::raw(1, "T", QByteArray("\x82" "fi") + bytes))));
    QVERIFY(handler->textString().isNull());
    QCOMPARE(takeWarnings(), QStringList{noTextWarning});
}

// ---------------------------------------------------------------------------------------------------
// Default application database

void tst_NdefRecordHandler::noDatabaseGivesNoDefaultApplication()
{
    Handler handler(new NdefRecordHandler(parse(NdefWriter::uri(QStringLiteral("http://host")))));
    QVERIFY(handler->defaultApplication().isNull());
    QVERIFY(!QFileInfo::exists(nfcDirectoryPath()));
}

void tst_NdefRecordHandler::firstChoiceCreatesDatabase()
{
    Handler handler(new NdefRecordHandler(parse(NdefWriter::uri(QStringLiteral("http://host")))));
    handler->setDefaultApplication(QStringLiteral("browser"));

    QVERIFY(QFileInfo(nfcDirectoryPath()).isDir());
    QCOMPARE(databasePairs(), (QList<QPair<QString, QString>>{qMakePair(QStringLiteral("http"), QStringLiteral("browser"))}));
    QCOMPARE(handler->defaultApplication(), QStringLiteral("browser"));
}

void tst_NdefRecordHandler::databaseFileMatchesExample()
{
    Handler handler(new NdefRecordHandler(parse(NdefWriter::uri(QStringLiteral("sms:+123")))));
    handler->setDefaultApplication(QStringLiteral("App"));
    QCOMPARE(readFile(databasePath()).toHex(), exampleDatabase().toHex());
}

void tst_NdefRecordHandler::defaultApplicationReadsExampleFile()
{
    QVERIFY(writeFile(databasePath(), exampleDatabase()));
    Handler sms(new NdefRecordHandler(parse(NdefWriter::uri(QStringLiteral("sms:+123")))));
    QCOMPARE(sms->defaultApplication(), QStringLiteral("App"));

    Handler tel(new NdefRecordHandler(parse(NdefWriter::uri(QStringLiteral("tel:+123")))));
    QVERIFY(tel->defaultApplication().isNull());
}

void tst_NdefRecordHandler::choicesAreSharedThroughFile()
{
    const QList<const NDEFRecord*> records = parse({NdefWriter::uri(QStringLiteral("http://a")),
                                                    NdefWriter::uri(QStringLiteral("tel:+1"))});
    Handler web(new NdefRecordHandler(records.value(0)));
    Handler call(new NdefRecordHandler(records.value(1)));
    QVERIFY(call->defaultApplication().isNull());

    web->setDefaultApplication(QStringLiteral("browser"));
    call->setDefaultApplication(QStringLiteral("dialer"));
    QCOMPARE(web->defaultApplication(), QStringLiteral("browser"));

    Handler later(new NdefRecordHandler(records.value(1)));
    QCOMPARE(later->defaultApplication(), QStringLiteral("dialer"));
    QCOMPARE(databasePairs().size(), 2);
}

void tst_NdefRecordHandler::recordsOfSameKeyShareChoice_data()
{
    QTest::addColumn<NdefWriter::Record>("first");
    QTest::addColumn<NdefWriter::Record>("second");

    QTest::addRow("two http URIs") << NdefWriter::uri(QStringLiteral("http://a")) << NdefWriter::uri(QStringLiteral("http://b/c"));
    QTest::addRow("URI and Smart Poster with tel")
        << NdefWriter::uri(QStringLiteral("tel:+1")) << NdefWriter::smartPoster(QStringLiteral("tel:+2"), {});
}

void tst_NdefRecordHandler::recordsOfSameKeyShareChoice()
{
    QFETCH(NdefWriter::Record, first);
    QFETCH(NdefWriter::Record, second);

    Handler one(new NdefRecordHandler(parse(first)));
    one->setDefaultApplication(QStringLiteral("App"));
    Handler other(new NdefRecordHandler(parse(second)));
    QCOMPARE(other->defaultApplication(), QStringLiteral("App"));
    QCOMPARE(databasePairs().size(), 1);
}

void tst_NdefRecordHandler::prefixedKeyKeepsChoicesApart()
{
    const NDEFRecord* record = parse(NdefWriter::uri(QStringLiteral("http://a")));
    Handler plain(new NdefRecordHandler(record));
    plain->setDefaultApplication(QStringLiteral("browser"));
    Handler prefixed(new NdefRecordHandler(record));
    prefixed->setDefaultApplicationKey(QStringLiteral("Sig"));
    QVERIFY(prefixed->defaultApplication().isNull());

    prefixed->setDefaultApplication(QStringLiteral("other"));
    QCOMPARE(plain->defaultApplication(), QStringLiteral("browser"));
    QCOMPARE(prefixed->defaultApplication(), QStringLiteral("other"));
    const auto pairs = databasePairs();
    QCOMPARE(pairs.size(), 2);
    QVERIFY(pairs.contains(qMakePair(QStringLiteral("Sighttp"), QStringLiteral("other"))));
}

void tst_NdefRecordHandler::newChoiceReplacesOldOne()
{
    Handler other(new NdefRecordHandler(parse(NdefWriter::uri(QStringLiteral("tel:+1")))));
    other->setDefaultApplication(QStringLiteral("dialer"));
    Handler handler(new NdefRecordHandler(parse(NdefWriter::uri(QStringLiteral("http://a")))));
    handler->setDefaultApplication(QStringLiteral("browser"));
    QCOMPARE(databasePairs().size(), 2);

    handler->setDefaultApplication(QStringLiteral("viewer"));
    QCOMPARE(databasePairs().size(), 2);
    QCOMPARE(handler->defaultApplication(), QStringLiteral("viewer"));
    QCOMPARE(other->defaultApplication(), QStringLiteral("dialer"));
}

void tst_NdefRecordHandler::pairsAreWrittenInReverseTableOrder()
{
    const QList<const NDEFRecord*> records = parse({NdefWriter::uri(QStringLiteral("http://a")),
                                                    NdefWriter::uri(QStringLiteral("tel:+1")),
                                                    NdefWriter::uri(QStringLiteral("sms:+1")),
                                                    NdefWriter::uri(QStringLiteral("mailto:a@b")),
                                                    NdefWriter::text("en", QStringLiteral("x"))});
    Handler last;
    for (const NDEFRecord* record : records) {
        last.reset(new NdefRecordHandler(record));
        last->setDefaultApplication(QStringLiteral("app for ") + NdefRecordExaminer::recordType(*last));
    }

    const QHash<QString, QString> table = NdefRecordExaminer::database(*last);
    QCOMPARE(table.size(), 5);
    QList<QPair<QString, QString>> expected;
    for (auto it = table.constBegin(); it != table.constEnd(); ++it)
        expected.prepend(qMakePair(it.key(), it.value()));
    QCOMPARE(databasePairs(), expected);
}

void tst_NdefRecordHandler::laterPairHidesEarlierOne()
{
    QVERIFY(writeFile(databasePath(), QByteArray::fromHex("00000002"
                                                          "00000006" "0073006d0073" "00000002" "0041"
                                                          "00000006" "0073006d0073" "00000002" "0042")));
    Handler handler(new NdefRecordHandler(parse(NdefWriter::uri(QStringLiteral("sms:+123")))));
    QCOMPARE(handler->defaultApplication(), QStringLiteral("B"));
}

void tst_NdefRecordHandler::trailingBytesAreIgnored()
{
    QVERIFY(writeFile(databasePath(), exampleDatabase() + QByteArray::fromHex("00000006" "0041")));
    Handler handler(new NdefRecordHandler(parse(NdefWriter::uri(QStringLiteral("sms:+123")))));
    QCOMPARE(handler->defaultApplication(), QStringLiteral("App"));
}

void tst_NdefRecordHandler::damagedDatabaseLoadsAsEmptyTable_data()
{
    QTest::addColumn<QByteArray>("contents");

    QTest::addRow("count promises more pairs") << QByteArray::fromHex("00000002") + exampleDatabase().mid(4);
    QTest::addRow("cut in a string") << exampleDatabase().left(exampleDatabase().size() - 2);
    QTest::addRow("cut in the count") << QByteArray::fromHex("0000");
    QTest::addRow("empty") << QByteArray();
}

void tst_NdefRecordHandler::damagedDatabaseLoadsAsEmptyTable()
{
    QFETCH(QByteArray, contents);

    // The handler's table holds the choice until a load replaces it.
    Handler handler(new NdefRecordHandler(parse(NdefWriter::uri(QStringLiteral("sms:+123")))));
    handler->setDefaultApplication(QStringLiteral("App"));
    QVERIFY(writeFile(databasePath(), contents));

    QVERIFY(handler->defaultApplication().isNull());
    QVERIFY(NdefRecordExaminer::database(*handler).isEmpty());
}

void tst_NdefRecordHandler::missingDatabaseKeepsTable()
{
    Handler handler(new NdefRecordHandler(parse(NdefWriter::uri(QStringLiteral("sms:+123")))));
    handler->setDefaultApplication(QStringLiteral("App"));
    QVERIFY(QFile::remove(databasePath()));

    QCOMPARE(handler->defaultApplication(), QStringLiteral("App"));
    Handler other(new NdefRecordHandler(parse(NdefWriter::uri(QStringLiteral("sms:+123")))));
    QVERIFY(other->defaultApplication().isNull());
}

void tst_NdefRecordHandler::unreadableDatabaseKeepsTable()
{
    const QString readWarning = QStringLiteral("NdefRecordHandler: Unable to read ") + databasePath();
    const QString writeWarning = QStringLiteral("NdefRecordHandler: Unable to write ") + databasePath();
    Handler handler(new NdefRecordHandler(parse(NdefWriter::uri(QStringLiteral("sms:+123")))));
    handler->setDefaultApplication(QStringLiteral("App"));
    // A directory in place of the file cannot be opened, whoever runs the test.
    QVERIFY(QFile::remove(databasePath()));
    QVERIFY(QDir().mkpath(databasePath()));

    QCOMPARE(handler->defaultApplication(), QStringLiteral("App"));
    QCOMPARE(takeWarnings(), QStringList{readWarning});

    Handler other(new NdefRecordHandler(parse(NdefWriter::uri(QStringLiteral("sms:+123")))));
    QVERIFY(other->defaultApplication().isNull());
    QCOMPARE(takeWarnings(), QStringList{readWarning});

    other->setDefaultApplication(QStringLiteral("Other"));
    QCOMPARE(takeWarnings(), (QStringList{readWarning, writeWarning}));
    QVERIFY(QFileInfo(databasePath()).isDir());
}

void tst_NdefRecordHandler::unwritableDatabaseKeepsChoiceInHandlerOnly()
{
    // A file named .nfc keeps the directory from being made, whoever runs the test.
    QVERIFY(writeFile(nfcDirectoryPath(), "not a directory"));
    Handler handler(new NdefRecordHandler(parse(NdefWriter::uri(QStringLiteral("sms:+123")))));
    handler->setDefaultApplication(QStringLiteral("App"));
    QCOMPARE(takeWarnings(), QStringList{QStringLiteral("NdefRecordHandler: Unable to write ") + databasePath()});

    QCOMPARE(handler->defaultApplication(), QStringLiteral("App"));
    Handler other(new NdefRecordHandler(parse(NdefWriter::uri(QStringLiteral("sms:+123")))));
    QVERIFY(other->defaultApplication().isNull());
}

// ---------------------------------------------------------------------------------------------------
// Record data files

void tst_NdefRecordHandler::mimePayloadIsSavedToTemporaryFile()
{
    const QByteArray payload = QByteArray::fromHex("89504e470d0a1a0a0000ff00");
    Handler handler(new NdefRecordHandler(parse(NdefWriter::mime("image/png", payload))));

    QTemporaryFile* file = handler->dataFile();
    QVERIFY(file);
    QVERIFY(!file->isOpen());
    QVERIFY(QRegularExpression(QStringLiteral("^/tmp/nfc-mime-tag-content-[^/]{6}$")).match(file->fileName()).hasMatch());
    QCOMPARE(readFile(file->fileName()), payload);
}

void tst_NdefRecordHandler::emptyPayloadGivesEmptyFile()
{
    Handler handler(new NdefRecordHandler(parse(NdefWriter::mime("image/png", QByteArray()))));
    QCOMPARE(handler->mimeType(), QStringLiteral("image/png"));
    QVERIFY(handler->dataFile());
    QVERIFY(QFileInfo::exists(handler->dataFile()->fileName()));
    QCOMPARE(QFileInfo(handler->dataFile()->fileName()).size(), qint64(0));
}

void tst_NdefRecordHandler::payloadIsSavedOnlyOnce()
{
    Handler handler(new NdefRecordHandler(parse(NdefWriter::mime("text/x-vcard", "BEGIN:VCARD\r\nEND:VCARD\r\n"))));
    QTemporaryFile* file = handler->dataFile();
    QVERIFY(file);
    const QString name = file->fileName();
    QVERIFY(writeFile(name, "changed"));

    QCOMPARE(handler->mimeType(), QStringLiteral("text/x-vcard"));
    QCOMPARE(handler->mimeType(), QStringLiteral("text/x-vcard"));
    QCOMPARE(handler->dataFile(), file);
    QCOMPARE(readFile(name), QByteArray("changed"));
    QCOMPARE(FakePlatform::count(QStringLiteral("ContactExporter::resolveContactInfo")), 1);
}

void tst_NdefRecordHandler::contactCardIsValidated_data()
{
    QTest::addColumn<QByteArray>("type");
    QTest::addColumn<bool>("validated");

    QTest::addRow("text/x-vcard") << QByteArray("text/x-vcard") << true;
    QTest::addRow("text/x-VCARD") << QByteArray("text/x-VCARD") << true;
    QTest::addRow("TEXT/X-VCARD with parameter") << QByteArray("TEXT/X-VCARD;charset=utf-8") << true;
    QTest::addRow("text/directory") << QByteArray("text/directory") << false;
    QTest::addRow("text/plain") << QByteArray("text/plain") << false;
}

void tst_NdefRecordHandler::contactCardIsValidated()
{
    QFETCH(QByteArray, type);
    QFETCH(bool, validated);

    Handler handler(new NdefRecordHandler(parse(NdefWriter::mime(type, "BEGIN:VCARD\r\nEND:VCARD\r\n"))));
    QVERIFY(handler->dataFile());
    const QList<FakeCall> calls = FakePlatform::callsTo(QStringLiteral("ContactExporter::resolveContactInfo"));
    if (validated) {
        QCOMPARE(calls.size(), 1);
        QCOMPARE(calls.first().args, QVariantList{QFileInfo(handler->dataFile()->fileName()).absoluteFilePath()});
    } else {
        QVERIFY(calls.isEmpty());
    }
}

void tst_NdefRecordHandler::corruptContactCardFileIsRemoved()
{
    FakePlatform::set(QStringLiteral("ContactExporter/valid"), false);

    Handler handler(new NdefRecordHandler(parse(NdefWriter::mime("text/x-vcard", "garbage"))));
    QCOMPARE(takeWarnings(), QStringList{corruptContactWarning});
    QVERIFY(!handler->dataFile());
    const QVariantList args = argumentsOfOnlyCall(QStringLiteral("ContactExporter::resolveContactInfo"));
    QCOMPARE(args.size(), 1);
    QVERIFY(args.first().toString().startsWith(QStringLiteral("/tmp/nfc-mime-tag-content-")));
    QVERIFY(!QFileInfo::exists(args.first().toString()));

    QVERIFY(handler->mimeType().isNull());
    QCOMPARE(takeWarnings(), QStringList{corruptContactWarning});
}

void tst_NdefRecordHandler::failedSaveIsTriedAgain()
{
    FakePlatform::set(QStringLiteral("ContactExporter/valid"), false);
    Handler handler(new NdefRecordHandler(parse(NdefWriter::mime("text/x-vcard", "BEGIN:VCARD\r\nEND:VCARD\r\n"))));
    QCOMPARE(takeWarnings(), QStringList{corruptContactWarning});

    FakePlatform::set(QStringLiteral("ContactExporter/valid"), true);
    QCOMPARE(handler->mimeType(), QStringLiteral("text/x-vcard"));
    QVERIFY(handler->dataFile());
    QCOMPARE(readFile(handler->dataFile()->fileName()), QByteArray("BEGIN:VCARD\r\nEND:VCARD\r\n"));
    QCOMPARE(FakePlatform::count(QStringLiteral("ContactExporter::resolveContactInfo")), 2);
    QVERIFY(!handler->isSupported()); // resolved once, when the save failed
}

void tst_NdefRecordHandler::unopenableTemporaryFileGivesNoMimeType()
{
    FakePlatform::set(QStringLiteral("ContentAction/file/*/image/png"), QStringList{QStringLiteral("gallery")});
    const NDEFRecord* record = parse(NdefWriter::mime("image/png", "PNG"));

    Handler handler;
    {
        NoFreeFileDescriptors noFiles;
        handler.reset(new NdefRecordHandler(record));
    }
    QCOMPARE(takeWarnings(), QStringList{tempFileWarning});
    QVERIFY(!handler->dataFile());
    QVERIFY(!handler->isSupported());
    QVERIFY(contentActionCalls().isEmpty());

    QCOMPARE(handler->mimeType(), QStringLiteral("image/png"));
    QVERIFY(handler->dataFile());
}

void tst_NdefRecordHandler::dataFileOutlivesHandlerBy20Seconds()
{
    NdefRecordHandler* handler = new NdefRecordHandler(parse(NdefWriter::mime("image/png", "PNG")));
    const QPointer<QTemporaryFile> file = handler->dataFile();
    QVERIFY(file);
    const QString name = file->fileName();

    QElapsedTimer clock;
    clock.start();
    delete handler;
    QVERIFY(file);
    QVERIFY(QFileInfo::exists(name));

    QTRY_VERIFY_WITH_TIMEOUT(file.isNull(), 25000);
    // Qt keeps timers of 20 s and more to whole seconds, so the removal may come up to a second early.
    QVERIFY2(clock.elapsed() >= 19000, qPrintable(QString::number(clock.elapsed())));
    QVERIFY(!QFileInfo::exists(name));
}

QTEST_GUILESS_MAIN(tst_NdefRecordHandler)
#include "tst_ndefrecordhandler.moc"
