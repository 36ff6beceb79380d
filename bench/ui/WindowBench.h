#pragma once

// The floating window: from the call that shows it (the unlock, over a locked vault) to its first
// paint, as a ratio to an empty frameless window of the same size shown the same way in the same
// run; and the process's memory with the window open on an unlocked 10k-item list.
void benchWindow();
