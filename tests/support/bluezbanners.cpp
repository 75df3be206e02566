#include "bluezbanners.h"

#include <QCoreApplication>

namespace {
const char pairingId[] = "vyk_nfc_ec_bnr_pairing";
const char connectedId[] = "vyk_nfc_ec_bnr_conn";
const char disconnectedId[] = "vyk_nfc_ec_bnr_disconn";

QString pairingText()
{
    return QStringLiteral("test-pairing <%1>");
}
QString connectedText()
{
    return QStringLiteral("test-connected <%1>");
}
QString disconnectedText()
{
    return QStringLiteral("test-disconnected <%1>");
}
} // namespace

BluezBannerTexts::BluezBannerTexts(QObject* parent) : QTranslator(parent) { }

BluezBannerTexts::~BluezBannerTexts()
{
    uninstall();
}

bool BluezBannerTexts::install()
{
    if (!m_installed)
        m_installed = QCoreApplication::installTranslator(this);
    return m_installed;
}

void BluezBannerTexts::uninstall()
{
    if (m_installed)
        QCoreApplication::removeTranslator(this);
    m_installed = false;
}

QString BluezBannerTexts::translate(const char* context, const char* sourceText, const char* disambiguation,
                                    int n) const
{
    Q_UNUSED(context)
    Q_UNUSED(disambiguation)
    Q_UNUSED(n)
    if (!sourceText)
        return QString();
    if (qstrcmp(sourceText, pairingId) == 0)
        return pairingText();
    if (qstrcmp(sourceText, connectedId) == 0)
        return connectedText();
    if (qstrcmp(sourceText, disconnectedId) == 0)
        return disconnectedText();
    return QString();
}

QString BluezBannerTexts::pairing(const QString& name)
{
    return pairingText().arg(name);
}

QString BluezBannerTexts::connected(const QString& name)
{
    return connectedText().arg(name);
}

QString BluezBannerTexts::disconnected(const QString& name)
{
    return disconnectedText().arg(name);
}
