#include "answerpresenter.h"
#include "dialogdata.h"
#include "hostlogging.h"

#include "dialog.h"

#include <QPointer>
#include <QTimer>

namespace Host {

AnswerPresenter::AnswerPresenter(Answer answer, QObject* parent)
    : QObject(parent), m_answer(answer)
{
}

bool AnswerPresenter::parse(const QString& text, Answer* answer)
{
    if (text == QLatin1String("ok"))
        *answer = Ok;
    else if (text == QLatin1String("cancel"))
        *answer = Cancel;
    else if (text == QLatin1String("none"))
        *answer = None;
    else
        return false;
    return true;
}

void AnswerPresenter::dialogShown(const QString& id, ConnUi::Dialog* dialog)
{
    if (m_answer == None)
        return;
    // Answered on the next turn of the event loop, so every presenter has seen the dialog first.
    QPointer<ConnUi::Dialog> guarded(dialog);
    const Answer answer = m_answer;
    QTimer::singleShot(0, this, [guarded, answer, id]() {
        if (!guarded || !guarded->isVisible())
            return;
        qCInfo(lcHost).noquote() << "Answering dialog" << id << (answer == Ok ? "ok" : "cancel");
        if (answer == Ok)
            DialogData::confirm(guarded);
        else
            DialogData::decline(guarded);
    });
}

void AnswerPresenter::dialogClosed(const QString&)
{
}

} // namespace Host
