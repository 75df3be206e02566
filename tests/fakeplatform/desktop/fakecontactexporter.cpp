// Fake contact card check: recorded; validity comes from the registry.
#include "contactexporter.h"
#include "fakeplatform.h"

#include <QFileInfo>

namespace ConnUi {

bool ContactExporter::resolveContactInfo(const QFileInfo& file, QString& name, QString& details)
{
    Q_UNUSED(name)
    Q_UNUSED(details)
    FakePlatform::record(QStringLiteral("ContactExporter::resolveContactInfo"), {file.absoluteFilePath()});
    return FakePlatform::get(QStringLiteral("ContactExporter/valid"), true).toBool();
}

} // namespace ConnUi
