#pragma once

/**
 * Return codes for the whole system, in the block 0xEF00. A function with an int result returns 0
 * for success, and -1 or one of these for failure.
 */
enum e_Error : int {
    /** An argument is out of range. */
    e_Error_InvalidArgument = 0xEF01,
    /** The service isn't initialised. */
    e_Error_NotInitialized = 0xEF02,
    /** No such key, section, file or device. */
    e_Error_NotFound = 0xEF04,
    /** A file can't be opened. */
    e_Error_CannotOpenFile = 0xEF07,
    /** A write failed. */
    e_Error_WriteFailed = 0xEF11,
    /** A wait timed out. */
    e_Error_Timeout = 0xEF14,
};
