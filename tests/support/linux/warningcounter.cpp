#include "warningcounter.h"

namespace {

WarningCounter* current = nullptr;

} // namespace

WarningCounter::WarningCounter()
{
    Q_ASSERT(!current);
    current = this;
    m_previous = qInstallMessageHandler(handle);
}

WarningCounter::~WarningCounter()
{
    qInstallMessageHandler(m_previous);
    current = nullptr;
}

void WarningCounter::handle(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (type == QtWarningMsg)
        ++current->m_count;
    current->m_previous(type, context, message);
}
