#ifndef NFCUI_SIMULATEDTAG_H
#define NFCUI_SIMULATEDTAG_H

#include "apdutransport.h"

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QPair>

// True when no byte stands in two of the read ranges [from, to): whoever read the tag read nothing twice.
bool eachByteReadOnce(const QList<QPair<int, int>>& reads);

// A tag lying on a PC/SC contactless reader, answering in process the way the reader and the tag answer
// together. Every command is logged, so that tests can count APDUs and check which bytes were read.
class SimulatedTag : public ApduTransport
{
public:
    bool transmit(const QByteArray& command, QByteArray* response, QString* error) override;

    // The tag is taken away when this many commands have been answered (-1: never).
    int removeAfter = -1;
    // The UID the reader's Get Data command answers; empty: the reader does not support it (6A81).
    QByteArray uid;

    QList<QByteArray> commands;

protected:
    virtual QByteArray answer(const QByteArray& command) = 0;
};

// An NFC Forum Type 2 tag: pages of 4 bytes read with FF B0 00 <page> <length>. A read that reaches past
// the memory is refused (6300, as readers report a tag's NAK); one that asks for more than 16 bytes too.
class SimulatedType2Tag : public SimulatedTag
{
public:
    explicit SimulatedType2Tag(const QByteArray& memory);

    QByteArray memory;
    // Status answered to every page read instead of the data (0: answer normally).
    quint16 readError = 0;
    // The byte ranges [from, to) every page read returned, in order.
    QList<QPair<int, int>> reads;

protected:
    QByteArray answer(const QByteArray& command) override;
};

// An NFC Forum Type 4 tag: the NDEF application with its files, ISO 7816 SELECT and READ BINARY.
class SimulatedType4Tag : public SimulatedTag
{
public:
    SimulatedType4Tag(const QByteArray& capabilityContainer, const QByteArray& ndefFile, quint16 ndefFileId = 0xE104);

    // Which forms of the application's SELECT the card accepts (2: D2760000850101, 1: D2760000850100).
    QList<int> applicationVersions {2, 1};
    bool hasApplication = true;
    QMap<quint16, QByteArray> files;
    // A READ BINARY that reaches past its file: false answers what there is with 6282, true refuses it
    // with 6B00 when it starts past the end and 6700 otherwise.
    bool strictLengths = false;
    // Status answered to every READ BINARY instead of the data (0: answer normally).
    quint16 readError = 0;
    // The most bytes a READ BINARY of a file other than the capability container answers, whatever it
    // asks for, with 9000 (0: as many as asked).
    int answerAtMost = 0;
    // Per file, the byte ranges [from, to) every READ BINARY returned, and the largest Le asked.
    QMap<quint16, QList<QPair<int, int>>> reads;
    int largestLe = 0;

protected:
    QByteArray answer(const QByteArray& command) override;

private:
    bool m_applicationSelected = false;
    int m_selected = -1;
};

#endif
