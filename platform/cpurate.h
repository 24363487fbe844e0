#pragma once

class Configuration;

/**
 * Gives the clock its rate in ticks per microsecond, from the key CPU_RATE: 666 without the key or
 * with an empty value. A value of 0, or none that is a number, leaves the clock's rate as it is. On
 * the main thread, before anything converts ticks.
 */
void CpuRateFromConfiguration(const Configuration& configuration);
