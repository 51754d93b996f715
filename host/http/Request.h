// A request of a client, free of how it is carried.
#pragma once

#include "host/http/Body.h"
#include "host/http/Peer.h"
#include "host/http/Reply.h"

#include <any>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace bmhost {

struct Request {
    std::string m_method; ///< as it was sent
    std::string m_path;   ///< without the query
    std::map<std::string, std::string> m_query;
    Headers m_headers; ///< as they were sent, in their order
    Peer m_peer;
    std::string m_body;                  ///< of BodyPlan::Whole
    std::unique_ptr<BodySink> m_sink;    ///< of BodyPlan::Pieces, with all pieces
    std::vector<std::string> m_captured; ///< what the service finds in the path
    std::any m_own;                      ///< what the service keeps from Begin to Finish

    std::string Operation() const { return m_method + " " + m_path; }
    /// The first header of this name, in whatever case; empty when there is none.
    std::string_view Header(std::string_view name) const;
    /// The content type without its parameters, in lower case.
    std::string MediaType() const;
    /// Throws Refusal, 415, unless the body is of this type.
    void ExpectMediaType(const std::string& expected) const;
};

} // namespace bmhost
