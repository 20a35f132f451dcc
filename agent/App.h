#pragma once

#include <QObject>

/// The application object of the module. It has no members; only its name in the meta-objects is needed.
class App : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;
};
