#pragma once

#include <functional>

class QNetworkAccessManager;
class QObject;

/// Makes the manager of one exchange, or returns null for Qt's own.
using ManagerFactory = std::function<QNetworkAccessManager*(QObject* pParent)>;

/// Sets the factory for the exchanges that begin from now on; an empty function for none. From any thread.
void SetManagerFactory(ManagerFactory fnMake);

/// The manager for an exchange that a request object is about to begin: the factory's, which is a child of
/// that object then, or else the object itself.
QNetworkAccessManager& ManagerFor(QNetworkAccessManager& own);
