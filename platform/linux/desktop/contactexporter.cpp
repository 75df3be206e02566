// Contact cards, read with KContacts' vCard parser.
#include "contactexporter.h"

#include <KContacts/Addressee>
#include <KContacts/PhoneNumber>
#include <KContacts/VCardConverter>

#include <QFile>

namespace ConnUi {

namespace {

QString nameOf(const KContacts::Addressee& contact)
{
    const QString formatted = contact.formattedName().trimmed();
    return formatted.isEmpty() ? contact.assembledName().trimmed() : formatted;
}

QString firstPhoneNumber(const KContacts::Addressee& contact)
{
    const KContacts::PhoneNumber::List numbers = contact.phoneNumbers();
    for (const KContacts::PhoneNumber& number : numbers) {
        QString text = number.number().trimmed();
        // vCard 4.0 may give the number as a tel: URI; the number is what follows the scheme.
        if (text.startsWith(QLatin1String("tel:"), Qt::CaseInsensitive))
            text = text.mid(4).trimmed();
        if (!text.isEmpty())
            return text;
    }
    return QString();
}

QString firstEmail(const KContacts::Addressee& contact)
{
    const QStringList emails = contact.emails();
    for (const QString& email : emails) {
        const QString text = email.trimmed();
        if (!text.isEmpty())
            return text;
    }
    return QString();
}

} // namespace

bool ContactExporter::resolveContactInfo(const QFileInfo& file, QString& name, QString& details)
{
    QFile input(file.absoluteFilePath());
    if (!file.isFile() || !input.open(QIODevice::ReadOnly))
        return false;
    const QByteArray data = input.readAll();
    if (data.trimmed().isEmpty())
        return false;

    const KContacts::VCardConverter converter;
    const KContacts::Addressee::List contacts = converter.parseVCards(data);
    // The first card that names someone or gives a way to reach them.
    for (const KContacts::Addressee& contact : contacts) {
        const QString contactName = nameOf(contact);
        const QString number = firstPhoneNumber(contact);
        const QString contactDetails = number.isEmpty() ? firstEmail(contact) : number;
        if (contactName.isEmpty() && contactDetails.isEmpty())
            continue;
        name = contactName;
        details = contactDetails;
        return true;
    }
    return false;
}

} // namespace ConnUi
