#pragma once

#include <QString>

/// The laboratory server, and what this host tells it with each request.
struct Server {
    QString strHost;
    int nPort = 0;
    QString strVersion; ///< of this host; the server gets it as "t"
};
