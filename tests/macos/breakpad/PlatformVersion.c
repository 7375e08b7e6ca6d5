/* Stands for a function of the compiler's runtime library for macOS, which Debian's clang does not have: which system
 * runs, for @available. */
#include <stdint.h>

int32_t __isPlatformVersionAtLeast(uint32_t platform, uint32_t major, uint32_t minor, uint32_t subminor);

int32_t __isPlatformVersionAtLeast(uint32_t platform, uint32_t major, uint32_t minor, uint32_t subminor)
{
    (void)platform, (void)major, (void)minor, (void)subminor;
    return 1;
}
