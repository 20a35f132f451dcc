#pragma once

#include <QString>

#include <string>

/// The nearest folder above that exists, or the folder itself.
QString ExistingAbove(const QString& strFolder);

/// Why nothing can be made in a folder, or in the nearest one above that exists; empty if something can.
std::string WhyNothingCanBeMade(const QString& strFolder);
