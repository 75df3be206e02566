#include "testsupport.h"

#include <QCoreApplication>
#include <QTranslator>

namespace TestSupport {

QStringList callsWithPrefix(const QString& prefix)
{
    QStringList names;
    for (const QString& name : FakePlatform::callNames()) {
        if (name.startsWith(prefix))
            names.append(name);
    }
    return names;
}

bool loadTranslations()
{
    static QTranslator* translator = nullptr;
    if (translator)
        return true;
    QTranslator* candidate = new QTranslator(QCoreApplication::instance());
    if (!candidate->load(QStringLiteral(NFCUI_TRANSLATIONS_QM))) {
        delete candidate;
        return false;
    }
    QCoreApplication::installTranslator(candidate);
    translator = candidate;
    return true;
}

QStringList agentReplies()
{
    QStringList replies;
    for (const FakeCall& call : FakePlatform::calls()) {
        if (!call.name.startsWith(QLatin1String("NfcAgent::")) || call.name.contains(QLatin1Char('~')))
            continue;
        QString reply = call.name.mid(10);
        for (const QVariant& arg : call.args)
            reply += QLatin1Char(' ') + arg.toString();
        replies.append(reply);
    }
    return replies;
}

} // namespace TestSupport
