// The tag read request from start() to the answered dialog, over the fake platform and a fake dialog
// server: whatever bytes a tag delivers, the request ends in exactly one outcome once its dialog is
// answered, and leaves nothing behind. The first byte holds options: bit 0 confirms the dialog
// (else it is declined), bit 1 registers a background application for the data.
#include <QByteArray>
#include <QCoreApplication>
#include <QDBusObjectPath>
#include <QSignalSpy>
#include <QThreadPool>

#include <cstdint>
#include <memory>

#include "dialog.h"
#include "fakedialogserver.h"
#include "fuzzcheck.h"
#include "ndefmessagehandler.h"
#include "ndefrecordhandler.h"
#include "nfcagenttagreadrequest.h"
#include "pluginfuzzing.h"

using ConnUi::Dialog;
using ConnUi::NdefMessageHandler;
using ConnUi::NfcAgentTagReadRequest;

void fuzzPluginInput(quint8 options, const QByteArray& bytes)
{
    {
        FakeDialogServer server;
        auto* request = new NfcAgentTagReadRequest(&server, QDBusObjectPath("/tag/1"), bytes);
        if (options & 2) {
            request->setMessageHandlers(NdefMessageHandlerList{NdefMessageHandler(
                QStringLiteral("app"), QStringLiteral("com.example.app"), QDBusObjectPath("/app"), false)});
        }
        QSignalSpy accepted(request, SIGNAL(accepted()));
        QSignalSpy rejected(request, SIGNAL(rejected()));
        request->start();
        // Every dialog shown is answered, the error dialog after a confirmation included.
        for (int round = 0; round < 4 && accepted.count() + rejected.count() == 0; ++round) {
            const QList<Dialog*> open = server.openDialogs();
            if (open.isEmpty())
                break;
            open.last()->done((options & 1) ? Dialog::Ok : Dialog::Cancel);
        }
        FUZZ_CHECK(accepted.count() + rejected.count() <= 1);
        FUZZ_CHECK(accepted.count() + rejected.count() == 1 || !server.openDialogs().isEmpty());
        delete request;
        QThreadPool::globalInstance()->waitForDone();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    forgetInput();
}
