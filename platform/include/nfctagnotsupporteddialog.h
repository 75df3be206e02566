#ifndef CONNUI_NFCTAGNOTSUPPORTEDDIALOG_H
#define CONNUI_NFCTAGNOTSUPPORTEDDIALOG_H

#include "dialog.h"

namespace ConnUi {

// Tells the user that a touched tag cannot be used.
class NfcTagNotSupportedDialog : public Dialog
{
    Q_OBJECT
    Q_PROPERTY(int errorType READ errorType)
public:
    enum ErrorType {
        ContentNotSupported = 0, // content that cannot be handled
        EmptyTag = 1             // a tag without records or without data
    };
    Q_ENUM(ErrorType)

    explicit NfcTagNotSupportedDialog(ErrorType errorType = ContentNotSupported, QObject* parent = nullptr);

    int errorType() const { return m_errorType; }

private:
    ErrorType m_errorType;
};

} // namespace ConnUi

#endif
