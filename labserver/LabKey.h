#pragma once

#include <cstddef>
#include <httplib.h>
#include <string>

/// The key by which a report is recognised when it comes again: the request's header Idempotency-Key, a text
/// in double quotes, as HTTP's structured fields write one. A text without the quotes means the same.
struct LabKey {
    static constexpr std::size_t MAX_SIZE = 255; ///< bytes, without the quotes

    std::string strText; ///< empty when there is no key, or none that can be read
    std::string strFlaw; ///< a sentence that says why the header can't be read; empty when nothing is wrong
};

LabKey KeyOf(const httplib::Request& request);
