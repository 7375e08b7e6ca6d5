# Breakpad's programs that read a minidump and make symbols: minidump_stackwalk and dump_syms. The package
# carries both for x86-64; elsewhere, and when asked for, they are built from the same source.

if(breakpad_tools AND NOT FALLCATCH_BREAKPAD_BUILD_TOOLS)
    foreach(tool IN ITEMS minidump_stackwalk dump_syms)
        add_executable(${tool} IMPORTED GLOBAL)
        set_target_properties(${tool} PROPERTIES IMPORTED_LOCATION "${breakpad_tools}/${tool}")
    endforeach()
    return()
endif()

# Two programs that run for a moment: quick to build matters more than quick to run.
function(fallcatch_breakpad_tool name)
    list(TRANSFORM ARGN PREPEND "${breakpad_src}/")
    add_executable(${name} EXCLUDE_FROM_ALL ${ARGN})
    fallcatch_breakpad_target(${name})
    target_compile_options(${name} PRIVATE -O1 -g0)
    target_compile_definitions(${name} PRIVATE HAVE_A_OUT_H=1)
endfunction()

enable_language(C)
set(libdisasm ia32_implicit ia32_insn ia32_invariant ia32_modrm ia32_opcode_tables ia32_operand ia32_reg
    ia32_settings x86_disasm x86_format x86_imm x86_insn x86_misc x86_operand_list)
list(TRANSFORM libdisasm PREPEND third_party/libdisasm/)
list(TRANSFORM libdisasm APPEND .c)

set(processor
    basic_code_modules basic_source_line_resolver call_stack cfi_frame_info convert_old_arm64_context
    disassembler_objdump disassembler_x86 dump_context dump_object exploitability exploitability_linux
    exploitability_win logging minidump minidump_processor minidump_stackwalk pathname_stripper process_state
    proc_maps_linux simple_symbol_supplier source_line_resolver_base stack_frame_cpu stack_frame_symbolizer
    stackwalk_common stackwalker stackwalker_address_list stackwalker_amd64 stackwalker_arm stackwalker_arm64
    stackwalker_mips stackwalker_ppc stackwalker_ppc64 stackwalker_riscv stackwalker_riscv64 stackwalker_sparc
    stackwalker_x86 symbolic_constants_win tokenize)
list(TRANSFORM processor PREPEND processor/)
list(TRANSFORM processor APPEND .cc)
fallcatch_breakpad_tool(minidump_stackwalk ${processor} ${libdisasm}
    common/linux/scoped_pipe.cc common/linux/scoped_tmpfile.cc common/path_helper.cc)

find_package(ZLIB)
if(NOT ZLIB_FOUND)
    message(FATAL_ERROR "Breakpad's dump_syms needs zlib: install zlib1g-dev, or configure with "
        "-DFALLCATCH_BREAKPAD=OFF")
endif()
set(reader
    dwarf_cfi_to_module dwarf_cu_to_module dwarf_line_to_module dwarf_range_list_handler language module
    path_helper stabs_reader stabs_to_module dwarf/bytereader dwarf/dwarf2diehandler dwarf/dwarf2reader
    dwarf/elf_reader linux/crc32 linux/dump_symbols linux/elf_symbols_to_module linux/elfutils linux/file_id
    linux/linux_libc_support linux/memory_mapped_file linux/safe_readlink)
list(TRANSFORM reader PREPEND common/)
list(TRANSFORM reader APPEND .cc)
fallcatch_breakpad_tool(dump_syms ${reader} tools/linux/dump_syms/dump_syms.cc)
target_link_libraries(dump_syms PRIVATE ZLIB::ZLIB)
