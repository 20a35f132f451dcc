#include "RequestCatalogue.h"

#include "requests/AllRequests.h"

#include "platform/metrics/Recorder.h"

#include <algorithm>
#include <array>

namespace VelCSDK
{
namespace
{

template <class... Request>
constexpr std::array<RequestForm, sizeof...(Request)> FormsOf(RequestList<Request...> /*all*/)
{
    return {{Request::FORM...}};
}

constexpr auto FORMS = FormsOf(AllRequests());

constexpr bool EachIdStandsOnce()
{
    for (std::size_t nFirst = 0; nFirst < FORMS.size(); ++nFirst) {
        for (std::size_t nSecond = nFirst + 1; nSecond < FORMS.size(); ++nSecond) {
            if (FORMS[nFirst].nType == FORMS[nSecond].nType) {
                return false;
            }
        }
    }
    return true;
}

static_assert(EachIdStandsOnce(), "two requests have the same id");

constexpr bool EachIsCounted()
{
    for (const RequestForm& form : FORMS) {
        if (form.nType < metrics::FIRST_TYPE || form.nType >= metrics::FIRST_TYPE + metrics::TYPES) {
            return false;
        }
    }
    return true;
}

static_assert(EachIsCounted(), "the figures leave out a request: raise metrics::TYPES");

} // namespace

std::string DefaultEndpointPath(int nType)
{
    const auto* const found = std::find_if(FORMS.begin(), FORMS.end(),
                                           [nType](const RequestForm& form) { return form.nType == nType; });
    return found == FORMS.end() ? std::string() : found->szPath;
}

} // namespace VelCSDK
