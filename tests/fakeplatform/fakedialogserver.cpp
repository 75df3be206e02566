#include "fakedialogserver.h"
#include "fakeplatform.h"

#include <QMetaObject>

namespace {
QString className(const QObject* object)
{
    QString name = QString::fromLatin1(object->metaObject()->className());
    return name.mid(name.lastIndexOf(QLatin1Char(':')) + 1);
}
} // namespace

FakeDialogServer::~FakeDialogServer()
{
    for (const QPointer<ConnUi::Dialog>& dialog : m_shown)
        delete dialog.data();
}

void FakeDialogServer::showDialog(ConnUi::Dialog* dialog)
{
    FakePlatform::record(QStringLiteral("Server::showDialog"),
                         {dialog ? className(dialog) : QString(), QVariant::fromValue<QObject*>(dialog)});
    if (!dialog)
        return;
    m_shown.append(dialog);
    if (m_autoAppear)
        dialog->appear();
}

void FakeDialogServer::closeDialog(ConnUi::Dialog* dialog)
{
    FakePlatform::record(QStringLiteral("Server::closeDialog"),
                         {dialog ? className(dialog) : QString(), QVariant::fromValue<QObject*>(dialog)});
    if (!dialog)
        return;
    m_closed.append(dialog);
    dialog->disappear();
    if (!m_shown.contains(dialog))
        m_shown.append(dialog); // the server owns it from now on
}

void FakeDialogServer::setProperty(const QString& key, const QVariant& value)
{
    FakePlatform::record(QStringLiteral("Server::setProperty"), {key, value});
    if (value.isValid())
        m_properties.insert(key, value);
    else
        m_properties.remove(key);
}

QList<ConnUi::Dialog*> FakeDialogServer::openDialogs() const
{
    QList<ConnUi::Dialog*> result;
    for (const QPointer<ConnUi::Dialog>& dialog : m_shown) {
        if (dialog && !m_closed.contains(dialog))
            result.append(dialog.data());
    }
    return result;
}

bool FakeDialogServer::isOpen(ConnUi::Dialog* dialog) const
{
    return openDialogs().contains(dialog);
}
