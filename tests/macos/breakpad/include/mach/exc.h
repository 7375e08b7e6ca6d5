// What Breakpad's client for macOS uses to hand an exception on.
#ifndef FALLCATCH_TESTS_MACOS_EXC_H
#define FALLCATCH_TESTS_MACOS_EXC_H

#include <mach/exception_types.h>
#include <mach/mach_types.h>

#ifdef __cplusplus
extern "C" {
#endif

kern_return_t exception_raise(mach_port_t port, mach_port_t thread, mach_port_t task,
                              exception_type_t exception, exception_data_t code, mach_msg_type_number_t count);

#ifdef __cplusplus
}
#endif

#endif
