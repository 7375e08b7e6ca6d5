// What Breakpad's client for macOS uses of the calls for another task's memory.
#ifndef FALLCATCH_TESTS_MACOS_MACH_VM_H
#define FALLCATCH_TESTS_MACOS_MACH_VM_H

#include <mach/mach_types.h>

#ifdef __cplusplus
extern "C" {
#endif

kern_return_t mach_vm_deallocate(vm_map_t task, mach_vm_address_t address, mach_vm_size_t size);
kern_return_t mach_vm_read(vm_map_t task, mach_vm_address_t address, mach_vm_size_t size, vm_offset_t* data,
                           mach_msg_type_number_t* count);
kern_return_t mach_vm_region(vm_map_t task, mach_vm_address_t* address, mach_vm_size_t* size,
                             vm_region_flavor_t flavor, vm_region_info_t info, mach_msg_type_number_t* count,
                             mach_port_t* name);
kern_return_t mach_vm_region_recurse(vm_map_t task, mach_vm_address_t* address, mach_vm_size_t* size,
                                     natural_t* depth, vm_region_recurse_info_t info,
                                     mach_msg_type_number_t* count);

#ifdef __cplusplus
}
#endif

#endif
