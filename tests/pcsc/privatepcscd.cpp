#include "privatepcscd.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QStandardPaths>
#include <QThread>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>
#include <winscard.h>

namespace {

const char friendlyName[] = "nfcui virtual reader";

// Whether nothing listens on the TCP port (on any address, as vpcd listens).
bool portFree(int port)
{
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    if (fd < 0)
        return false;
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_port = htons(quint16(port));
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    const bool free = ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    ::close(fd);
    return free;
}

// The virtual reader driver of vsmartcard-vpcd.
QString vpcdDriver()
{
    const QDir drivers(QStringLiteral("/usr/lib/pcsc/drivers/serial"));
    for (const QString& name : drivers.entryList({QStringLiteral("libifdvpcd.so*")}, QDir::Files, QDir::Name))
        return drivers.filePath(name);
    return QString();
}

// How many readers pcscd at the current PCSCLITE_CSOCK_NAME lists; -1 when it does not answer.
int listedReaders()
{
    SCARDCONTEXT context = 0;
    if (SCardEstablishContext(SCARD_SCOPE_SYSTEM, nullptr, nullptr, &context) != SCARD_S_SUCCESS)
        return -1;
    DWORD length = 0;
    const LONG rv = SCardListReaders(context, nullptr, nullptr, &length);
    int count = 0;
    if (rv == SCARD_S_SUCCESS) {
        QByteArray names(int(length), '\0');
        if (SCardListReaders(context, nullptr, names.data(), &length) == SCARD_S_SUCCESS) {
            for (const char* name = names.constData(); *name; name += qstrlen(name) + 1)
                ++count;
        }
    }
    SCardReleaseContext(context);
    return count;
}

} // namespace

PrivatePcscd::PrivatePcscd() = default;

PrivatePcscd::~PrivatePcscd()
{
    stop();
}

QString PrivatePcscd::readerName(int slot) const
{
    return QStringLiteral("%1 00 %2").arg(QLatin1String(friendlyName)).arg(slot, 2, 10, QLatin1Char('0'));
}

int PrivatePcscd::port(int slot) const
{
    return m_port + slot;
}

QString PrivatePcscd::socketPath() const
{
    return m_dir.filePath(QStringLiteral("run/pcscd/pcscd.comm"));
}

QString PrivatePcscd::log() const
{
    return m_log + (m_process ? QString::fromLocal8Bit(m_process->readAllStandardOutput()) : QString());
}

bool PrivatePcscd::prepare(QString* error)
{
    if (m_port)
        return true;
    if (!m_dir.isValid()) {
        *error = QStringLiteral("cannot create a temporary directory for pcscd");
        return false;
    }
    const QString pcscd = QStandardPaths::findExecutable(QStringLiteral("pcscd"), {QStringLiteral("/usr/sbin")});
    if (pcscd.isEmpty()) {
        *error = QStringLiteral("pcscd is missing (Debian package pcscd)");
        return false;
    }
    for (const QString& tool : {QStringLiteral("unshare"), QStringLiteral("setpriv")}) {
        if (QStandardPaths::findExecutable(tool).isEmpty()) {
            *error = QStringLiteral("%1 is missing (Debian package util-linux)").arg(tool);
            return false;
        }
    }
    const QString driver = vpcdDriver();
    if (driver.isEmpty()) {
        *error = QStringLiteral("the virtual reader driver libifdvpcd.so is missing (Debian package vsmartcard-vpcd)");
        return false;
    }
    // The driver is copied out, since the drivers directory is hidden from pcscd.
    const QString copy = m_dir.filePath(QStringLiteral("libifdvpcd.so"));
    if (!QFile::copy(driver, copy)) {
        *error = QStringLiteral("cannot copy %1").arg(driver);
        return false;
    }
    if (!QDir(m_dir.path()).mkpath(QStringLiteral("run")) || !QDir(m_dir.path()).mkpath(QStringLiteral("conf"))) {
        *error = QStringLiteral("cannot create pcscd's directories");
        return false;
    }
    // vpcd listens on the port it is given and the next one, one per reader slot.
    for (int attempt = 0; attempt < 200 && !m_port; ++attempt) {
        const int candidate = 20000 + 2 * int(QRandomGenerator::global()->bounded(20000));
        if (portFree(candidate) && portFree(candidate + 1))
            m_port = candidate;
    }
    if (!m_port) {
        *error = QStringLiteral("no two free TCP ports for the virtual readers");
        return false;
    }
    QFile config(m_dir.filePath(QStringLiteral("conf/vpcd")));
    if (!config.open(QIODevice::WriteOnly)) {
        *error = QStringLiteral("cannot write %1").arg(config.fileName());
        return false;
    }
    config.write(QStringLiteral("FRIENDLYNAME \"%1\"\nDEVICENAME /dev/null:%2\nLIBPATH %3\nCHANNELID %2\n")
                     .arg(QLatin1String(friendlyName))
                     .arg(m_port)
                     .arg(copy)
                     .toUtf8());
    return true;
}

bool PrivatePcscd::start(QString* error)
{
    if (m_process)
        return true;
    if (!prepare(error))
        return false;
    qputenv("PCSCLITE_CSOCK_NAME", QFile::encodeName(socketPath()));

    // In its own mount namespace pcscd's /run is the test's directory, and the USB drivers are hidden so
    // that it loads only the virtual readers of its configuration.
    // Its mounts are made private first; where "/" is no mount point (in a chroot) that cannot be done,
    // and it is enough that no mount propagates to other namespaces.
    const QString script =
        QStringLiteral("{ mount --make-rprivate / 2>/dev/null || ! grep -q ' shared:' /proc/self/mountinfo "
                       "|| { echo 'the mounts of pcscd namespace cannot be made private' >&2; exit 1; }; } "
                       "&& mount --bind \"$1/run\" /run && mount -t tmpfs tmpfs /usr/lib/pcsc/drivers "
                       "&& exec pcscd -f -a -c \"$1/conf\"");
    // pcscd is killed when this process dies, however it dies (a test timeout, a crash).
    QStringList arguments {QStringLiteral("--pdeathsig"), QStringLiteral("KILL"), QStringLiteral("unshare")};
    if (::geteuid() != 0)
        arguments << QStringLiteral("--map-root-user");
    arguments << QStringLiteral("--mount") << QStringLiteral("--propagation") << QStringLiteral("unchanged")
              << QStringLiteral("/bin/sh") << QStringLiteral("-c") << script
              << QStringLiteral("pcscd") << m_dir.path();
    m_process.reset(new QProcess);
    m_process->setProcessChannelMode(QProcess::MergedChannels);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("PATH"), QStringLiteral("/usr/sbin:/usr/bin:/sbin:/bin"));
    m_process->setProcessEnvironment(environment);
    m_process->start(QStringLiteral("setpriv"), arguments);
    if (!m_process->waitForStarted(5000)) {
        *error = QStringLiteral("cannot start pcscd: %1").arg(m_process->errorString());
        m_process.reset();
        return false;
    }
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < 15000) {
        if (m_process->state() == QProcess::NotRunning) {
            *error = QStringLiteral("pcscd ended at start: %1").arg(log());
            m_log += QString::fromLocal8Bit(m_process->readAll());
            m_process.reset();
            return false;
        }
        if (QFileInfo::exists(socketPath()) && listedReaders() == ReaderCount)
            return true;
        m_process->waitForReadyRead(50);
        m_log += QString::fromLocal8Bit(m_process->readAllStandardOutput());
    }
    *error = QStringLiteral("pcscd did not list its virtual readers: %1").arg(log());
    stop();
    return false;
}

bool PrivatePcscd::waitUntilEmpty(int milliseconds)
{
    SCARDCONTEXT context = 0;
    if (SCardEstablishContext(SCARD_SCOPE_SYSTEM, nullptr, nullptr, &context) != SCARD_S_SUCCESS)
        return true; // no pcscd, no card
    QList<QByteArray> names;
    for (int slot = 0; slot < ReaderCount; ++slot)
        names << readerName(slot).toUtf8();
    QElapsedTimer timer;
    timer.start();
    bool empty = false;
    while (!empty && timer.elapsed() < milliseconds) {
        SCARD_READERSTATE states[ReaderCount] = {};
        for (int slot = 0; slot < ReaderCount; ++slot) {
            states[slot].szReader = names.at(slot).constData();
            states[slot].dwCurrentState = SCARD_STATE_UNAWARE;
        }
        empty = SCardGetStatusChange(context, 0, states, ReaderCount) == SCARD_S_SUCCESS;
        for (int slot = 0; slot < ReaderCount && empty; ++slot)
            empty = !(states[slot].dwEventState & SCARD_STATE_PRESENT);
        if (!empty)
            QThread::msleep(50);
    }
    SCardReleaseContext(context);
    return empty;
}

void PrivatePcscd::stop()
{
    if (!m_process)
        return;
    m_process->terminate();
    if (!m_process->waitForFinished(5000)) {
        m_process->kill();
        m_process->waitForFinished(2000);
    }
    m_log += QString::fromLocal8Bit(m_process->readAllStandardOutput());
    m_process.reset();
}
