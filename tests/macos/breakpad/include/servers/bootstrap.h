// What Breakpad's client for macOS uses of the bootstrap server.
#ifndef FALLCATCH_TESTS_MACOS_BOOTSTRAP_H
#define FALLCATCH_TESTS_MACOS_BOOTSTRAP_H

#include <mach/mach.h>
#include <sys/types.h>

#define BOOTSTRAP_SUCCESS 0
#define BOOTSTRAP_NOT_PRIVILEGED 1100
#define BOOTSTRAP_NAME_IN_USE 1101
#define BOOTSTRAP_UNKNOWN_SERVICE 1102
#define BOOTSTRAP_SERVICE_ACTIVE 1103
#define BOOTSTRAP_BAD_COUNT 1104
#define BOOTSTRAP_NO_MEMORY 1105
#define BOOTSTRAP_NO_CHILDREN 1106

typedef char name_t[128];

#ifdef __cplusplus
extern "C" {
#endif

extern mach_port_t bootstrap_port;
kern_return_t bootstrap_check_in(mach_port_t bootstrap, const name_t name, mach_port_t* service);
kern_return_t bootstrap_create_server(mach_port_t bootstrap, char* command, uid_t user, boolean_t onDemand,
                                      mach_port_t* server);
kern_return_t bootstrap_create_service(mach_port_t bootstrap, char* name, mach_port_t* service);
kern_return_t bootstrap_look_up(mach_port_t bootstrap, const name_t name, mach_port_t* service);
kern_return_t bootstrap_parent(mach_port_t bootstrap, mach_port_t* parent);
kern_return_t bootstrap_register(mach_port_t bootstrap, char* name, mach_port_t service);
const char* bootstrap_strerror(kern_return_t result);
kern_return_t bootstrap_subset(mach_port_t bootstrap, mach_port_t requestor, mach_port_t* subset);

#ifdef __cplusplus
}
#endif

#endif
