#pragma once

#include <QtGlobal>

/// Whether a progress report of Qt's makes sense: it names a total, and no more than that is done.
inline bool IsProgress(qint64 nDone, qint64 nTotal)
{
    return nDone >= 0 && nTotal >= 1 && nDone <= nTotal;
}
