#pragma once

#include <QObject>

/// The application object of the module: a name in its meta-objects, without members of its own.
class App : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;
};
