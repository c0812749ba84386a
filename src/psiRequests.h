// What a client's request for a PSI/SI table stands for: one row a table.
#pragma once

#include "mpegSession.h"

#include "wire/topics.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace mpegfe {

struct PsiRequest {
    const char* dataStream; // as the client writes it
    RequestCode code;
    std::int32_t tablePid; // the session's requestParam
    wire::Topic topic;     // that brings the table's record
};

inline constexpr std::array<PsiRequest, 6> psiRequests{{
    {"PAT", requestPat, wire::patPid, wire::patTopic},
    {"CAT", requestCat, wire::catPid, wire::catTopic},
    {"NIT", requestNit, wire::nitPid, wire::nitTopic},
    {"SDT", requestSdt, wire::sdtPid, wire::sdtTopic},
    {"EIT", requestEit, wire::eitPid, wire::eitTopic},
    {"TDT", requestTdt, wire::tdtPid, wire::tdtTopic},
}};

// The row with this value in this column, or null.
template <typename Column, typename Value>
constexpr const PsiRequest* findPsiRequest(Column PsiRequest::*column, Value value) {
    const auto* row = std::find_if(psiRequests.begin(), psiRequests.end(),
                                   [&](const PsiRequest& one) { return one.*column == value; });
    return row != psiRequests.end() ? row : nullptr;
}

} // namespace mpegfe
