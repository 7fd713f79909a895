# 32-bit x86 on a 64-bit machine. Its libraries are unpacked by scripts/i386-sysroot.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_LIBRARY_ARCHITECTURE i386-linux-gnu)
# SSE arithmetic: the x87's excess precision would truncate 0.3 x 10000 to 2999.
set(lumen_flags "-m32 -march=i686 -msse2 -mfpmath=sse -D_FILE_OFFSET_BITS=64")
set(CMAKE_C_FLAGS_INIT ${lumen_flags})
set(CMAKE_CXX_FLAGS_INIT ${lumen_flags})
set(LUMEN_LIBRARY_DIR ${CMAKE_CURRENT_LIST_DIR}/../build/sysroot-i386/usr/lib/i386-linux-gnu)
cmake_path(NORMAL_PATH LUMEN_LIBRARY_DIR)
