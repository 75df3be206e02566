#ifndef NFCUI_HOST_DIALOGPRESENTER_H
#define NFCUI_HOST_DIALOGPRESENTER_H

#include <QString>

namespace ConnUi {
class Dialog;
}

namespace Host {

// Something that shows the server's dialogs to somebody: windows on a screen, an automatic answer, a
// screenshot. The server tells every presenter about each dialog once it is on screen and again when it
// goes; the dialog belongs to the server throughout.
class DialogPresenter
{
public:
    virtual ~DialogPresenter() = default;

    // The dialog has appeared. A presenter may answer it (Dialog::done) now or later.
    virtual void dialogShown(const QString& id, ConnUi::Dialog* dialog) = 0;
    // The dialog has finished or was taken down; it must not be used after this call returns.
    virtual void dialogClosed(const QString& id) = 0;
    // Something shown besides dialogs: the touch overlay, feedback, a banner, an unlock prompt.
    virtual void indication(const QString& kind, const QString& detail)
    {
        Q_UNUSED(kind)
        Q_UNUSED(detail)
    }
};

} // namespace Host

#endif
