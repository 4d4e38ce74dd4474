# Fails when the library's archives use a changing call that is not among WRAPPED.
cmake_minimum_required(VERSION 3.25)

set(changing
    "(__)?(creat|open|openat)(64)?(_2)?|p?writev?2?|pwrite(64)?(v2?)?|(copy_file_range|sendfile|splice)(64)?"
    "f(sync|datasync)|sync|syncfs|rename(at2?)?|(sym)?link(at)?|unlink(at)?|rmdir|remove|mkdir(at)?|mknod(at)?|mkfifo(at)?"
    "[fl]?chown(at)?|fchownat|f?chmod(at)?|fchmodat|[fl]?(set|remove)xattr|f?truncate(64)?|(posix_)?fallocate(64)?"
    "utime|utimes|lutimes|futimes|futimens|utimensat|(mkd?s?temp|mkostemp)(64)?|mkdtemp|tmpfile(64)?|mount|ioctl"
    "(f|fd|fre)open(64)?|fwrite|fputs|fputc|fprintf|__fprintf_chk|mmap(64)?|(perm|attr)_copy_f(ile|d)|acl_set_f(ile|d)"
    "posix_spawnp?|v?fork|(__)?clone|exec[lv]p?e?|system|popen"
    "_ZNSt10filesystem(6rename|6remove|10remove_all|15create_director|11resize_file|9copy_file|4copy|11permissions|15last_write).*"
    "_ZNSt1[34]basic_(ofstream|filebuf).*")

function(is_changing symbol result)
    set(${result} FALSE PARENT_SCOPE)
    foreach(pattern IN LISTS changing)
        if(symbol MATCHES "^(${pattern})$")
            set(${result} TRUE PARENT_SCOPE)
        endif()
    endforeach()
endfunction()

# Opened for reading only, on a descriptor that is seen.
set(harmless fdopen)
set(found 0)
foreach(archive IN LISTS ARCHIVES)
    execute_process(COMMAND "${NM}" -u "${archive}" OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX MATCHALL "U [^\n]+" lines "${output}")
    foreach(line IN LISTS lines)
        string(SUBSTRING "${line}" 2 -1 symbol)
        string(REGEX REPLACE "@.*" "" symbol "${symbol}")
        is_changing("${symbol}" isChanging)
        if(isChanging AND NOT symbol IN_LIST harmless)
            math(EXPR found "${found} + 1")
            if(NOT symbol IN_LIST WRAPPED)
                message(SEND_ERROR "${archive} uses ${symbol}, which is not seen")
            endif()
        endif()
    endforeach()
endforeach()
if(found LESS 10)
    message(SEND_ERROR "Only ${found} changing calls were found, so the archives cannot have been read")
endif()
