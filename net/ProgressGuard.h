#pragma once

#include <QtGlobal>

/// Whether a progress report of Qt's makes sense: it has a total, and what is done does not exceed that.
inline bool IsProgress(qint64 nDone, qint64 nTotal)
{
    return nDone >= 0 && nTotal >= 1 && nDone <= nTotal;
}
