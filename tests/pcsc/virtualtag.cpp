#include "virtualtag.h"

#include "tagimages.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

VirtualTag::VirtualTag(const QJsonObject& card) : m_card(card)
{
}

VirtualTag::~VirtualTag()
{
    if (!m_process)
        return;
    m_process->write("quit\n");
    if (!m_process->waitForFinished(3000)) {
        m_process->kill();
        m_process->waitForFinished(2000);
    }
}

QJsonObject VirtualTag::type2(const QByteArray& memory, const QByteArray& uid)
{
    return QJsonObject {{QStringLiteral("type"), 2},
                        {QStringLiteral("atr"), QString::fromLatin1(TagImages::ultralightAtr().toHex())},
                        {QStringLiteral("uid"), QString::fromLatin1(uid.toHex())},
                        {QStringLiteral("memory"), QString::fromLatin1(memory.toHex())}};
}

QJsonObject VirtualTag::type4(const QByteArray& capabilityContainer, const QByteArray& ndefFile, const QByteArray& uid,
                              quint16 ndefFileId)
{
    QJsonObject files {{QStringLiteral("E103"), QString::fromLatin1(capabilityContainer.toHex())},
                       {QStringLiteral("%1").arg(ndefFileId, 4, 16, QLatin1Char('0')).toUpper(),
                        QString::fromLatin1(ndefFile.toHex())}};
    return QJsonObject {{QStringLiteral("type"), 4},
                        {QStringLiteral("atr"), QString::fromLatin1(TagImages::type4Atr().toHex())},
                        {QStringLiteral("uid"), QString::fromLatin1(uid.toHex())},
                        {QStringLiteral("files"), files}};
}

bool VirtualTag::putOn(int port, QString* error)
{
    const QString python = QStringLiteral("/usr/bin/python3");
    if (!QFileInfo(python).isExecutable()) {
        *error = QStringLiteral("%1 is missing (Debian package python3)").arg(python);
        return false;
    }
    m_process.reset(new QProcess);
    m_process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process->start(python,
                     {QStringLiteral(NFCUI_PCSC_TAG_EMULATOR), QStringLiteral("--port"), QString::number(port),
                      QStringLiteral("--card"),
                      QString::fromUtf8(QJsonDocument(m_card).toJson(QJsonDocument::Compact))});
    if (!m_process->waitForStarted(5000)) {
        *error = QStringLiteral("cannot start the tag emulation: %1").arg(m_process->errorString());
        return false;
    }
    if (!waitFor(QStringLiteral("connected"))) {
        *error = QStringLiteral("the tag emulation did not reach the reader on port %1").arg(port);
        return false;
    }
    return true;
}

bool VirtualTag::takeOff()
{
    if (!m_process)
        return false;
    m_process->write("remove\n");
    return waitFor(QStringLiteral("removed"));
}

bool VirtualTag::putBack()
{
    if (!m_process)
        return false;
    m_process->write("insert\n");
    return waitFor(QStringLiteral("connected"));
}

QStringList VirtualTag::apdus()
{
    waitFor(QString()); // takes in what is there
    QStringList apdus;
    for (const QString& line : qAsConst(m_lines)) {
        if (line.startsWith(QLatin1Char('>')))
            apdus << line;
    }
    return apdus;
}

bool VirtualTag::waitFor(const QString& line)
{
    if (!m_process)
        return line.isEmpty();
    QElapsedTimer timer;
    timer.start();
    while (true) {
        while (m_process->canReadLine())
            m_lines << QString::fromUtf8(m_process->readLine()).trimmed();
        for (; m_seen < m_lines.size(); ++m_seen) {
            if (!line.isEmpty() && m_lines.at(m_seen) == line) {
                ++m_seen;
                return true;
            }
        }
        if (line.isEmpty() || m_process->state() == QProcess::NotRunning || timer.elapsed() > 20000)
            return line.isEmpty();
        m_process->waitForReadyRead(100);
    }
}
