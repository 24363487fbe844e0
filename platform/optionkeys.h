#pragma once

/**
 * The keys of the software options file, all in its default section. Numbers are decimal, booleans
 * "0" and "1", the switcher mode its number.
 */
inline constexpr char availableMlesKey[] = "availableMles";
inline constexpr char availableInputsKey[] = "availableInputs";
inline constexpr char switcherModeKey[] = "switcherMode";
inline constexpr char logToUSBKey[] = "logToUSB";
inline constexpr char vistrolNameKey[] = "vistrolName";
inline constexpr char autoDiscoveryOnKey[] = "autoDiscoveryOn";
inline constexpr char useDefaultHTTPPortKey[] = "useDefaultHTTPPort";
inline constexpr char numABUKey[] = "numABU";
inline constexpr char numConfAudioChannelsKey[] = "numConfAudioChannels";
inline constexpr char webMediaAccessKey[] = "webMediaAccess";
inline constexpr char ftpAccessKey[] = "ftpAccess";
inline constexpr char roleBasedControlAccessKey[] = "roleBasedControlAccess";
/** Followed by the index, 0 to 2. */
inline constexpr char authVRQConnectionsKey[] = "authVRQConnections";
inline constexpr char rbacMasterPasswordKey[] = "rbacMasterPassword";
inline constexpr char quibnetAccessKey[] = "quibnetAccess";

/** Of the file's format, with two values; nothing here reads or writes it. */
inline constexpr char vidprocBitfileKey[] = "vidprocBitfile";
inline constexpr char vidprocBitfileDve[] = "velnor_vp_dve";
inline constexpr char vidprocBitfileFcfs[] = "velnor_vp_fcfs";
