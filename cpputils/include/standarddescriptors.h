#pragma once

/**
 * Opens /dev/null for each of descriptors 0, 1 and 2 that is closed; open ones stay as they are.
 *
 * The first act of every main: otherwise the next file that the program opens takes the free
 * number, and output meant for a terminal is written into that file. Where /dev/null cannot be
 * opened the descriptor stays closed.
 */
void OpenStandardDescriptors();
