#ifndef NFCOVERLAY_H
#define NFCOVERLAY_H

#include <QObject>

// The touch indication shown over the screen when something is touched with the phone.
class NfcOverlay : public QObject
{
    Q_OBJECT
    Q_PROPERTY(int shownCount READ shownCount)
public:
    explicit NfcOverlay(QObject* parent = nullptr);

    // Shows the indication once; it goes away by itself.
    void showIndication();
    int shownCount() const { return m_shownCount; }

Q_SIGNALS:
    void indicationShown();

private:
    int m_shownCount = 0;
};

#endif
