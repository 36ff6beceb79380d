#pragma once

// The password list at 10k and 100k items: a keystroke in the search field (one typed, one taken
// back) to the repainted list, as a ratio to the core's search alone; a save, an edit and a delete
// until the list shows it; and the process's memory with the 100k list on screen.
void benchList();
