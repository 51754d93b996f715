// Every path that the socket serves, in one table.
#pragma once

#include "host/api/Limits.h"
#include "host/api/PictureText.h"
#include "host/api/Upload.h"
#include "host/http/Service.h"
#include "host/resident/ResidentHost.h"

#include <span>
#include <string_view>

namespace bmhost {

/// What handlers work with; all on the server's thread.
struct Api {
    ResidentHost& m_host;
    const ApiLimits& m_limits;
    const MakeUploadSink& m_makeSink;
    PictureText m_picture;
};

enum class Body { None, Json, Image };

/// Throws Refusal. Whoever returns Waits has given `answered` to the host.
using Handler = Outcome (*)(Api& api, Request& request, const Answered& answered);

struct Route {
    std::string_view m_method; ///< GET serves HEAD too
    std::string_view m_path;   ///< {name} stands for one part
    std::string_view m_query;  ///< the parameters that it knows, with blanks between
    Body m_body;
    Handler m_handler;
    std::string_view m_summary;
};

std::span<const Route> Routes();

/// The request's route; captures what stands for its {names}. Throws Refusal: 404, 405, or 400 for a parameter that
/// the route does not know.
const Route& FindRoute(Request& request);

/// The document that describes all this, docs/openapi.json.
std::string_view OpenApiDocument();

} // namespace bmhost
