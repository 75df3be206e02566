// The daemon's reading of Bluetooth handover messages: what becomes a pairing request, with which
// address, name and class of device, and what is malformed and delivered as plain data.
#include <QtTest>

#include "bluetoothhandover.h"
#include "ndefwriter.h"

namespace {

QByteArray oob(const QByteArray& eir, int lengthAdjust = 0)
{
    QByteArray payload;
    const int length = 8 + eir.size() + lengthAdjust;
    payload.append(char(length & 0xff)).append(char(length >> 8));
    payload.append(QByteArray::fromHex("0c0b0a090807")); // 07:08:09:0A:0B:0C
    payload.append(eir);
    return payload;
}

QByteArray eir(quint8 type, const QByteArray& data)
{
    return QByteArray(1, char(data.size() + 1)) + char(type) + data;
}

QByteArray oobMessage(const QByteArray& payload)
{
    return NdefWriter::message({NdefWriter::mime("application/vnd.bluetooth.ep.oob", payload)});
}

} // namespace

class tst_BluetoothHandover : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void anOobRecordGivesTheAddressMostSignificantByteFirst()
    {
        const BluetoothHandover handover = BluetoothHandover::parse(oobMessage(oob(QByteArray())));
        QCOMPARE(handover.kind(), BluetoothHandover::Handover);
        QCOMPARE(handover.address(), QStringLiteral("07:08:09:0A:0B:0C"));
        QCOMPARE(handover.name(), QString());
        QCOMPARE(handover.classOfDevice(), 0u);
    }

    void theCompleteNameIsPreferredToTheShortenedOne()
    {
        const BluetoothHandover handover = BluetoothHandover::parse(
            oobMessage(oob(eir(0x08, "Head") + eir(0x09, "Headset Pro") + eir(0x0d, QByteArray::fromHex("0c0220")))));
        QCOMPARE(handover.kind(), BluetoothHandover::Handover);
        QCOMPARE(handover.name(), QStringLiteral("Headset Pro"));
        QCOMPARE(handover.classOfDevice(), 0x20020cu);
    }

    void theShortenedNameIsUsedWithoutACompleteOne()
    {
        const BluetoothHandover handover = BluetoothHandover::parse(oobMessage(oob(eir(0x08, "Spk"))));
        QCOMPARE(handover.name(), QStringLiteral("Spk"));
    }

    void unknownEirStructuresAndPaddingAreSkipped()
    {
        const BluetoothHandover handover = BluetoothHandover::parse(
            oobMessage(oob(eir(0x03, QByteArray::fromHex("0b11")) + eir(0x09, "Car") + QByteArray(4, '\0'))));
        QCOMPARE(handover.kind(), BluetoothHandover::Handover);
        QCOMPARE(handover.name(), QStringLiteral("Car"));
    }

    void theMimeTypeIsMatchedWithoutRegardToCase()
    {
        const QByteArray message =
            NdefWriter::message({NdefWriter::mime("Application/VND.Bluetooth.EP.OOB", oob(QByteArray()))});
        QCOMPARE(BluetoothHandover::parse(message).kind(), BluetoothHandover::Handover);
    }

    void aHandoverSelectCarryingTheRecordIsAHandover()
    {
        const QByteArray message = NdefWriter::message(
            {NdefWriter::raw(1, "Hs", QByteArray::fromHex("12")), NdefWriter::raw(1, "ac", QByteArray::fromHex("0101300000")),
             NdefWriter::mime("application/vnd.bluetooth.ep.oob", oob(eir(0x09, "Kit")))});
        const BluetoothHandover handover = BluetoothHandover::parse(message);
        QCOMPARE(handover.kind(), BluetoothHandover::Handover);
        QCOMPARE(handover.name(), QStringLiteral("Kit"));
    }

    void aHandoverSelectWithoutABluetoothCarrierIsMalformed()
    {
        const QByteArray message = NdefWriter::message({NdefWriter::raw(1, "Hs", QByteArray::fromHex("12"))});
        QCOMPARE(BluetoothHandover::parse(message).kind(), BluetoothHandover::Malformed);
    }

    void anOobRecordAfterOtherRecordsIsPlainData()
    {
        const QByteArray message = NdefWriter::message(
            {NdefWriter::uri(QStringLiteral("http://example.com")),
             NdefWriter::mime("application/vnd.bluetooth.ep.oob", oob(QByteArray()))});
        QCOMPARE(BluetoothHandover::parse(message).kind(), BluetoothHandover::NotHandover);
    }

    void otherMessagesAndBytesAreNotHandovers()
    {
        QCOMPARE(BluetoothHandover::parse(NdefWriter::message({NdefWriter::text("en", QStringLiteral("x"))})).kind(),
                 BluetoothHandover::NotHandover);
        QCOMPARE(BluetoothHandover::parse(QByteArray()).kind(), BluetoothHandover::NotHandover);
        QCOMPARE(BluetoothHandover::parse(QByteArray("\xff\x00\x01", 3)).kind(), BluetoothHandover::NotHandover);
    }

    void malformedOobRecordsAreMalformed_data()
    {
        QTest::addColumn<QByteArray>("payload");
        QTest::newRow("too short") << QByteArray::fromHex("08000102");
        QTest::newRow("length too large") << oob(QByteArray(), 3);
        QTest::newRow("length too small") << oob(eir(0x09, "Name"), -2);
        QTest::newRow("EIR past the end") << oob(QByteArray::fromHex("0909414243"));
        QTest::newRow("class of device of 2 bytes") << oob(eir(0x0d, QByteArray::fromHex("0c02")));
    }

    void malformedOobRecordsAreMalformed()
    {
        QFETCH(QByteArray, payload);
        const BluetoothHandover handover = BluetoothHandover::parse(oobMessage(payload));
        QCOMPARE(handover.kind(), BluetoothHandover::Malformed);
        QVERIFY(!handover.problem().isEmpty());
    }
};

QTEST_GUILESS_MAIN(tst_BluetoothHandover)
#include "tst_bluetoothhandover.moc"
