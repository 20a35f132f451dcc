#pragma once

class QNetworkAccessManager;

/// Where the process runs with raised rights, keeps an access manager from the proxy that the environment
/// names. A proxy that the host has given Qt stays in force.
void AvoidEnvironmentsProxy(QNetworkAccessManager& manager);
