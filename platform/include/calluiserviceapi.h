#ifndef CALLUISERVICEAPI_H
#define CALLUISERVICEAPI_H

#include <QObject>
#include <QString>

namespace CallUi {

class CallUiServiceApiPrivate;

// The phone's call service.
class CallUiServiceApi : public QObject
{
    Q_OBJECT
public:
    explicit CallUiServiceApi(QObject* parent = nullptr);
    ~CallUiServiceApi() override;

    // Asks for a cellular call to the number; true when the request was sent.
    bool RequestCellularCall(const QString& number);

private:
    Q_DISABLE_COPY(CallUiServiceApi)
    CallUiServiceApiPrivate* const d;
};

} // namespace CallUi

#endif
