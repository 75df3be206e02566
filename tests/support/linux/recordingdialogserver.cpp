#include "recordingdialogserver.h"

#include <QMetaObject>
#include <QTimer>

namespace {

QString className(const QObject* object)
{
    QString name = QString::fromLatin1(object->metaObject()->className());
    const int separator = name.lastIndexOf(QLatin1String("::"));
    return separator < 0 ? name : name.mid(separator + 2);
}

} // namespace

RecordingDialogServer::~RecordingDialogServer()
{
    for (const QPointer<ConnUi::Dialog>& dialog : qAsConst(m_shown))
        delete dialog.data();
}

void RecordingDialogServer::showDialog(ConnUi::Dialog* dialog)
{
    m_events.append(QStringLiteral("show ") + className(dialog));
    m_shown.append(dialog);
    dialog->appear();
    if (m_answering) {
        const int result = m_answer;
        QTimer::singleShot(0, dialog, [dialog, result] { dialog->done(result); });
    }
}

void RecordingDialogServer::closeDialog(ConnUi::Dialog* dialog)
{
    m_events.append(QStringLiteral("close ") + className(dialog));
    dialog->disappear();
}

void RecordingDialogServer::setProperty(const QString& key, const QVariant& value)
{
    m_events.append(QStringLiteral("setProperty %1 %2").arg(key, value.toString()).trimmed());
    if (value.isValid())
        m_properties.insert(key, value);
    else
        m_properties.remove(key);
}
