// What the WDS session module knows of a client, for the other modules of
// the service.
#pragma once

namespace vornsim::wds {

// The IP family (4 or 6) the client chose; 0 for a client the service
// has not seen.
int client_ip_family(const void *client);
// A session of the family (4 or 6) is up.
bool family_has_session(int family);

}  // namespace vornsim::wds
