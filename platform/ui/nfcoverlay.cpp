#include "nfcoverlay.h"
#include "uiindications.h"

NfcOverlay::NfcOverlay(QObject* parent)
    : QObject(parent)
{
}

void NfcOverlay::showIndication()
{
    ++m_shownCount;
    ConnUi::UiIndications::indicate(QStringLiteral("touch-overlay"));
    emit indicationShown();
}
