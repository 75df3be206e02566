#ifndef NFCADAPTER_H
#define NFCADAPTER_H

#include <QObject>

class NfcAgent;
class NfcAdapterPrivate;

// The NFC daemon's default adapter. defaultAdapter() makes a new object that the caller deletes.
class NfcAdapter : public QObject
{
    Q_OBJECT
public:
    static NfcAdapter* defaultAdapter();
    ~NfcAdapter() override;

    // True while the daemon runs and reports a default adapter.
    bool isValid() const;
    // Whether the user wants NFC actions confirmed; true when the setting cannot be read.
    bool isConfirmationEnabled() const;

    void registerAgent(NfcAgent* agent);
    void unregisterAgent(NfcAgent* agent);

Q_SIGNALS:
    void adapterValid();
    void adapterInvalid();

private:
    explicit NfcAdapter(QObject* parent = nullptr);
    Q_DISABLE_COPY(NfcAdapter)
    NfcAdapterPrivate* const d;
    friend class NfcAdapterPrivate;
};

#endif
