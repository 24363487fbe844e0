#pragma once

class Configuration;

/**
 * Sets the clock's rate, in ticks per microsecond, from the key CPU_RATE. Without the key, or with
 * an empty value, the rate is 666. A value of 0, or one that is not a number, leaves the rate as it
 * is. Call it on the main thread before anything converts ticks.
 */
void CpuRateFromConfiguration(const Configuration& configuration);
