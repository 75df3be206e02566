#include "widgetpresenter.h"
#include "dialogwindow.h"
#include "hostlogging.h"

#include <QDir>
#include <QGuiApplication>
#include <QLabel>
#include <QLayout>
#include <QPixmap>

namespace Host {

WidgetPresenter::WidgetPresenter(bool showWindows, QObject* parent)
    : QObject(parent), m_showWindows(showWindows), m_status(std::make_unique<QLabel>())
{
    m_status->setObjectName(QStringLiteral("status"));
    //% "NFC"
    m_status->setWindowTitle(qtTrId("nfcui_host_status_title"));
    m_status->setMinimumWidth(DialogWindow::phoneSize.width());
    m_status->setMargin(8);
    //% "Touch a tag or a device"
    m_status->setText(qtTrId("nfcui_host_status_idle"));
    // The dialog server outlives its windows: closing the status line or the last dialog's window must
    // not end it.
    QGuiApplication::setQuitOnLastWindowClosed(false);
}

WidgetPresenter::~WidgetPresenter()
{
    for (const QPointer<DialogWindow>& window : qAsConst(m_windows))
        delete window.data();
}

void WidgetPresenter::setScreenshotDirectory(const QString& directory)
{
    m_screenshotDirectory = directory;
    if (!directory.isEmpty())
        QDir().mkpath(directory);
}

void WidgetPresenter::dialogShown(const QString& id, ConnUi::Dialog* dialog)
{
    auto* window = new DialogWindow(id, dialog);
    m_windows.insert(id, window);
    if (m_showWindows) {
        window->show();
        window->raise();
        window->activateWindow();
    }
    if (!m_screenshotDirectory.isEmpty())
        saveScreenshot(window);
}

void WidgetPresenter::dialogClosed(const QString& id)
{
    QPointer<DialogWindow> window = m_windows.take(id);
    if (window) {
        window->hide();
        window->deleteLater();
    }
}

void WidgetPresenter::indication(const QString& kind, const QString& detail)
{
    m_status->setText(describeIndication(kind, detail));
    if (m_showWindows && !m_status->isVisible())
        m_status->show();
}

DialogWindow* WidgetPresenter::window(const QString& id) const
{
    return m_windows.value(id);
}

QString WidgetPresenter::statusText() const
{
    return m_status->text();
}

QString WidgetPresenter::describeIndication(const QString& kind, const QString& detail)
{
    if (kind == QLatin1String("touch-overlay"))
        //% "Touched"
        return qtTrId("nfcui_host_status_touch");
    if (kind == QLatin1String("feedback"))
        //% "Feedback: %1"
        return qtTrId("nfcui_host_status_feedback").arg(detail);
    if (kind == QLatin1String("banner"))
        //% "Banner: %1"
        return qtTrId("nfcui_host_status_banner").arg(detail);
    if (kind == QLatin1String("unblank"))
        //% "Screen turned on"
        return qtTrId("nfcui_host_status_unblank");
    if (kind == QLatin1String("unlock"))
        //% "Unlock the screen"
        return qtTrId("nfcui_host_status_unlock");
    return detail.isEmpty() ? kind : kind + QStringLiteral(": ") + detail;
}

void WidgetPresenter::saveScreenshot(DialogWindow* window)
{
    // Rendered straight from the widget, so it works on the offscreen platform and off screen.
    window->ensurePolished();
    if (window->layout())
        window->layout()->activate();
    const QPixmap pixmap = window->grab();
    const QString file = QDir(m_screenshotDirectory).filePath(window->screenshotName());
    if (pixmap.save(file, "PNG")) {
        qCInfo(lcHost).noquote() << "Screenshot" << file;
        Q_EMIT screenshotSaved(file);
    } else {
        qCWarning(lcHost).noquote() << "Cannot save the screenshot" << file;
    }
}

} // namespace Host
