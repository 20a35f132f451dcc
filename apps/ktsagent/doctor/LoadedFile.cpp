#include "LoadedFile.h"

#include <link.h>

namespace
{

struct Search {
    std::string strName; ///< the beginning of the file's name
    std::string strFile;
};

int Look(dl_phdr_info* pInfo, std::size_t /*nSize*/, void* pSearch)
{
    Search& search = *static_cast<Search*>(pSearch);
    const std::string strFile = pInfo->dlpi_name;
    if (strFile.substr(strFile.rfind('/') + 1).rfind(search.strName, 0) != 0) {
        return 0;
    }
    search.strFile = strFile;
    return 1; // that was the last one
}

} // namespace

std::string LoadedFile(const std::string& strName)
{
    Search search{(strName.rfind("lib", 0) == 0 ? "" : "lib") + strName + ".so", {}};
    ::dl_iterate_phdr(&Look, &search);
    return search.strFile;
}
