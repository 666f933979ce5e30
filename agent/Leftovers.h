#pragma once

#include "mount/Log.h"
#include "mount/StateMount.h"

namespace Oru::Agent {

// What the state machines cannot know, because it happened while no agent listened.

// Removes what an earlier run has left for what is not there any more:
//
//   slice launcher entries    of slices with neither configuration nor status directory
//   hardware status           of slices without configuration
//   chip launcher entries     of chips that are in no configuration, or whose slice has no status
//                             directory; not while a configuration is refused, since it may be that
//                             of the chip
//   feature launcher entries  of features without file
//
// To be called after the mount has read the tree and follows the entities, and again whenever
// something goes that no machine may have known.
void removeLeftovers(Mount::StateMount& mount, Mount::Log const& log);

// Lets a slice be detected again of which a chip's configuration is lost, although the slice was
// taken over. To be called before the machines are made.
void takeOverAnewWhatIsLost(Mount::StateMount& mount, Mount::Log const& log);

}  // namespace Oru::Agent
