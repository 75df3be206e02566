#ifndef MESSAGINGIF_H
#define MESSAGINGIF_H

#include <QObject>
#include <QString>
#include <QStringList>

class MessagingIfPrivate;

// The phone's messaging service. An empty service name picks the default one.
class MessagingIf : public QObject
{
    Q_OBJECT
public:
    explicit MessagingIf(const QString& service = QString(), QObject* parent = nullptr);
    ~MessagingIf() override;

    // Sends a text message; the flag asks for the message to be stored in the sent folder.
    bool sendSMS(const QString& number, const QString& body, bool store);
    // Opens the message editor with the recipients and body filled in; the last argument names an
    // attachment (empty for none).
    bool showSmsEditor(const QStringList& recipients, const QString& body, const QString& attachment);

private:
    Q_DISABLE_COPY(MessagingIf)
    MessagingIfPrivate* const d;
};

#endif
