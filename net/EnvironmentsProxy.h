#pragma once

class QNetworkAccessManager;

/// If the process runs with raised rights, keeps an access manager from using the proxy that the environment
/// names. A proxy that the host has set in Qt stays in force.
void AvoidEnvironmentsProxy(QNetworkAccessManager& manager);

/// Whether that is so: the process has raised rights, and the host has set no proxy.
bool IsEnvironmentsProxyAvoided();
