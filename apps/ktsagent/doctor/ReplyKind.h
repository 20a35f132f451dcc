#pragma once

#include "HttpAnswer.h"

#include <string>

/// What kind of reply came for a query.
struct ReplyKind {
    enum class Kind {
        Yes,   ///< the server's JSON, with a success
        No,    ///< the server's JSON, with a refusal
        Other, ///< anything that is not from the laboratory's server
    };

    Kind eKind;
    std::string strSays; ///< part of a sentence: "a web page, not JSON"
    std::string strToDo; ///< empty for a success
};

/// Judges an answer that came.
ReplyKind KindOf(const HttpAnswer& answer);
