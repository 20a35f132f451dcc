#include "NearestName.h"

#include <algorithm>
#include <numeric>

namespace
{

char SmallLetter(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

} // namespace

std::size_t EditDistance(std::string_view first, std::string_view second)
{
    // The distances from the beginning of `first` that was read to each beginning of `second`.
    std::vector<std::size_t> vecRow(second.size() + 1);
    std::iota(vecRow.begin(), vecRow.end(), std::size_t{0});
    for (const char c : first) {
        std::size_t nDiagonal = vecRow.front()++;
        for (std::size_t i = 0; i < second.size(); ++i) {
            const std::size_t nReplaced = nDiagonal + (SmallLetter(c) == SmallLetter(second[i]) ? 0 : 1);
            nDiagonal = vecRow[i + 1];
            vecRow[i + 1] = std::min({vecRow[i] + 1, vecRow[i + 1] + 1, nReplaced});
        }
    }
    return vecRow.back();
}

std::string NearestName(std::string_view text, const std::vector<std::string>& vecNames, std::size_t nMost)
{
    std::string strNearest;
    std::size_t nLimit = nMost + 1;
    for (const std::string& strName : vecNames) {
        const std::size_t nDistance = EditDistance(text, strName);
        if (nDistance < nLimit) {
            nLimit = nDistance;
            strNearest = strName;
        }
    }
    return strNearest;
}
