// In the place of the web door's two ways to the resident host: a view that stands still, and a client that asks a
// service of this process.
#pragma once

#include "host/client/HostClient.h"
#include "host/http/Service.h"
#include "host/web/BladeView.h"

#include <memory>

namespace fuzzing {

/// What every new mirror shows.
void ShowInMirrors(const bmhost::BladeView& view);

/// Whom every client asks; null: no host has the blade. It outlives what asks.
void AskInClients(bmhost::HttpService* host);

std::unique_ptr<bmhost::HostClient> ClientOfHost();
const bmhost::BladeView& ViewOfHost();

} // namespace fuzzing
