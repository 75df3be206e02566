#ifndef NFCUI_BLUEZBANNERS_H
#define NFCUI_BLUEZBANNERS_H

#include <QString>
#include <QTranslator>

// Texts of the Bluetooth banner ids for tests, so that a test sees which device name went into which
// banner without depending on the translation catalogue. Install one on the application for the life of
// a test case: BluezBannerTexts texts; texts.install(); ... texts.uninstall();
class BluezBannerTexts : public QTranslator {
    Q_OBJECT
public:
    explicit BluezBannerTexts(QObject* parent = nullptr);
    ~BluezBannerTexts() override;

    bool install();
    void uninstall();

    QString translate(const char* context, const char* sourceText, const char* disambiguation = nullptr,
                      int n = -1) const override;
    bool isEmpty() const override { return false; }

    // The banner texts that a device name gives with these test texts.
    static QString pairing(const QString& name);
    static QString connected(const QString& name);
    static QString disconnected(const QString& name);

private:
    bool m_installed = false;
};

#endif
