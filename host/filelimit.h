#pragma once

/// Lets the process open files for `connections` connections and what else it needs, as far as the hard limit
/// allows; warns if that is not enough.
void raiseFileLimit(int connections);
