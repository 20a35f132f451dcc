#include "ExportsOfSystem.h"

#include "LoadedImage.h"

std::set<std::string> ExportsOf(const std::string& strLibrary)
{
    return LoadedImage(strLibrary).Exports();
}

// On Windows, exporting a class also exports its static members, including those of Qt's meta-objects. Type
// names are not exported, because each library has its own.
std::set<std::string> ExportsFor(const std::string& strListed)
{
    std::set<std::string> setExports;
    const std::size_t nMetaObject = strListed.find("::staticMetaObject");
    if (nMetaObject != std::string::npos) {
        setExports.insert(strListed.substr(0, nMetaObject) +
                          "::qt_static_metacall(QObject*, QMetaObject::Call, int, void**)");
    }
    if (strListed.rfind("typeinfo name for ", 0) != 0) {
        setExports.insert(strListed);
    }
    return setExports;
}
