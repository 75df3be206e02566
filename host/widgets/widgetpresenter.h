#ifndef NFCUI_HOST_WIDGETPRESENTER_H
#define NFCUI_HOST_WIDGETPRESENTER_H

#include <QMap>
#include <QObject>
#include <QPointer>

#include <memory>

#include "dialogpresenter.h"

class QLabel;

namespace Host {

class DialogWindow;

// Presents every dialog in a window of its own (DialogWindow) and the indications (touch, feedback,
// banners, unblank, unlock) in a status line. With a screenshot directory it saves a PNG of every
// dialog as it appears; that works without a display on the offscreen platform.
class WidgetPresenter : public QObject, public DialogPresenter
{
    Q_OBJECT
public:
    // showWindows false keeps the windows off screen (screenshots only).
    explicit WidgetPresenter(bool showWindows = true, QObject* parent = nullptr);
    ~WidgetPresenter() override;

    void setScreenshotDirectory(const QString& directory);
    QString screenshotDirectory() const { return m_screenshotDirectory; }

    void dialogShown(const QString& id, ConnUi::Dialog* dialog) override;
    void dialogClosed(const QString& id) override;
    void indication(const QString& kind, const QString& detail) override;

    DialogWindow* window(const QString& id) const;
    QStringList windowIds() const { return m_windows.keys(); }
    // The status line's current text.
    QString statusText() const;
    // How an indication reads in the status line.
    static QString describeIndication(const QString& kind, const QString& detail);

Q_SIGNALS:
    void screenshotSaved(const QString& file);

private:
    void saveScreenshot(DialogWindow* window);

    bool m_showWindows;
    QString m_screenshotDirectory;
    QMap<QString, QPointer<DialogWindow>> m_windows;
    std::unique_ptr<QLabel> m_status;
};

} // namespace Host

#endif
