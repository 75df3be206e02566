#ifndef NFCUI_HOST_ANSWERPRESENTER_H
#define NFCUI_HOST_ANSWERPRESENTER_H

#include <QObject>

#include "dialogpresenter.h"

namespace Host {

// Answers every dialog as soon as it appears: "ok" confirms it (with the preselected or first
// application), "cancel" declines it, "none" leaves it open for somebody else.
class AnswerPresenter : public QObject, public DialogPresenter
{
    Q_OBJECT
public:
    enum Answer {
        None,
        Ok,
        Cancel
    };

    explicit AnswerPresenter(Answer answer, QObject* parent = nullptr);

    // "ok", "cancel" or "none"; false for anything else.
    static bool parse(const QString& text, Answer* answer);

    Answer answer() const { return m_answer; }

    void dialogShown(const QString& id, ConnUi::Dialog* dialog) override;
    void dialogClosed(const QString& id) override;

private:
    Answer m_answer;
};

} // namespace Host

#endif
