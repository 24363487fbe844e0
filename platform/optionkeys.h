#pragma once

/**
 * The keys of the software options file, all in its default section. Numbers are decimal, booleans
 * "0" and "1", the switcher mode its number.
 */
inline constexpr char AVAILABLE_MLES_KEY[] = "availableMles";
inline constexpr char AVAILABLE_INPUTS_KEY[] = "availableInputs";
inline constexpr char SWITCHER_MODE_KEY[] = "switcherMode";
inline constexpr char LOG_TO_USB_KEY[] = "logToUSB";
inline constexpr char VISTROL_NAME_KEY[] = "vistrolName";
inline constexpr char AUTO_DISCOVERY_ON_KEY[] = "autoDiscoveryOn";
inline constexpr char USE_DEFAULT_HTTP_PORT_KEY[] = "useDefaultHTTPPort";
inline constexpr char NUM_ABU_KEY[] = "numABU";
inline constexpr char NUM_CONF_AUDIO_CHANNELS_KEY[] = "numConfAudioChannels";
inline constexpr char WEB_MEDIA_ACCESS_KEY[] = "webMediaAccess";
inline constexpr char FTP_ACCESS_KEY[] = "ftpAccess";
inline constexpr char ROLE_BASED_CONTROL_ACCESS_KEY[] = "roleBasedControlAccess";
/** Followed by the index, 0 to 2. */
inline constexpr char AUTH_VRQ_CONNECTIONS_KEY[] = "authVRQConnections";
inline constexpr char RBAC_MASTER_PASSWORD_KEY[] = "rbacMasterPassword";
inline constexpr char QUIBNET_ACCESS_KEY[] = "quibnetAccess";

/** Part of the file's format, with two values; nothing here reads or writes it. */
inline constexpr char VIDPROC_BITFILE_KEY[] = "vidprocBitfile";
inline constexpr char VIDPROC_BITFILE_DVE[] = "velnor_vp_dve";
inline constexpr char VIDPROC_BITFILE_FCFS[] = "velnor_vp_fcfs";
