#ifndef CONNUI_CONTACTEXPORTER_H
#define CONNUI_CONTACTEXPORTER_H

#include <QFileInfo>
#include <QString>

namespace ConnUi {

// Contact cards.
class ContactExporter
{
public:
    // True when the file holds at least one vCard with a name, a phone number or an e-mail address.
    // On success name receives the first card's formatted name and details its first number or
    // address.
    static bool resolveContactInfo(const QFileInfo& file, QString& name, QString& details);
};

} // namespace ConnUi

#endif
