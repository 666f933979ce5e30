#pragma once

#include "central/CentralSm.h"
#include "runtime/vunda/Export.h"

namespace Oru::Central {

// The library's door: creates the supervision tree on the given directories, reconciled with what
// they hold, with its notifications on. The tree lives as long as the returned pointer; releasing
// it ends supervision and stops every slice and chip agent. See CentralSm for what each argument
// is, may be, and is used for. Raises what a handler raises at start-up (a chip's device id out of
// range, what the helper throws), and leaves nothing behind then but what the directories had
// written to them.
ORU_EXPORT Vunda::Ptr<CentralSm> centralSmFactory(
    Vunda::Ptr<Kesh::Dir const> const& hwConfigDir, Vunda::Ptr<Kesh::Dir> const& hwStatusDir,
    Vunda::Ptr<Kesh::Dir> const& configDir, Vunda::Ptr<Kesh::Dir> const& statusDir,
    Vunda::Ptr<SystemStatus> const& systemStatus,
    Vunda::Ptr<Kesh::Dir const> const& resetRequestDir, Vunda::Ptr<Kesh::Dir> const& resetStatusDir,
    Vunda::Ptr<Kesh::Dir> const& sliceLauncherConfigDir,
    Vunda::Ptr<Kesh::Dir> const& chipLauncherConfigDir,
    Vunda::Ptr<Kesh::Dir> const& featureLauncherConfigDir,
    Vunda::Ptr<OruHelper::CentralHelper> const& helper);

}  // namespace Oru::Central
