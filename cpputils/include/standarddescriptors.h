#pragma once

/**
 * Opens /dev/null for each of descriptors 0, 1 and 2 that is closed; open ones stay as they are.
 *
 * Call it first in every main. Otherwise the next file that the program opens takes the free
 * number, and output meant for a terminal is written into that file. If /dev/null cannot be opened,
 * the descriptor stays closed.
 */
void OpenStandardDescriptors();
