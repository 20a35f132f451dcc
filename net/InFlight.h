#pragma once

class QNetworkAccessManager;

/// Keeps watch over an access manager that has a request under way, so that none outlives the parts of Qt
/// that its thread works with: those that are left when the QCoreApplication goes, or when their thread ends,
/// by ending the process among other ways, are deleted then. Call it on the manager's thread, with each
/// request.
void WatchInFlight(QNetworkAccessManager& manager);
