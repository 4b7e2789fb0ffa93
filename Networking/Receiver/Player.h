#pragma once

// The player: reads its settings, opens both endpoints and plays until the key q or an error, which it reports on the
// console.  The endpoints' tasks still run when it returns; the end of the process ends them.
void RunPlayer();
