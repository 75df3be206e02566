#ifndef CONNUI_UIINDICATIONS_H
#define CONNUI_UIINDICATIONS_H

#include <QObject>
#include <QString>

namespace ConnUi {

// Process-wide channel through which the UI toolkit reports what it shows besides dialogs (the touch
// overlay, feedback effects, screen unblank and unlock, banners), so that the dialog server can
// present or report them.
class UiIndications : public QObject
{
    Q_OBJECT
public:
    static UiIndications* instance();
    static void indicate(const QString& kind, const QString& detail = QString());

Q_SIGNALS:
    void indication(const QString& kind, const QString& detail);

private:
    UiIndications() = default;
};

} // namespace ConnUi

#endif
