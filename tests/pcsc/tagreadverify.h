#ifndef NFCUI_TAGREADVERIFY_H
#define NFCUI_TAGREADVERIFY_H

#include "tagreadresult.h"

#include <QtTest>

// Verifies that a tag read ended without a message: with `outcome` (NotNdef or Failed), a reason that
// contains `reason`, and no NDEF bytes left behind. On a mismatch the calling test fails here; the caller
// has nothing more to check after it.
inline void verifyReadEndedWithout(const TagReadResult& result, TagReadResult::Outcome outcome, const QString& reason)
{
    QCOMPARE(result.outcome, outcome);
    QVERIFY2(result.reason.contains(reason), qPrintable(result.reason));
    QVERIFY(result.ndef.isEmpty());
}

#endif
