#include "tests/loader/LoadedLibrary.h"

#include <stdio.h>
#include <string.h>

#include "tests/loader/CallbackGate.h"

#if defined(_WIN32)

#include <windows.h>

typedef FARPROC Symbol;

static void* openLibrary(const char* path) {
    return LoadLibraryA(path);
}

static Symbol findSymbol(void* handle, const char* name) {
    return GetProcAddress(handle, name);
}

static int closeLibrary(void* handle) {
    return FreeLibrary(handle);
}

static int isLoaded(const char* path) {
    return GetModuleHandleA(path) != NULL;
}

static const char* lastError(void) {
    static char text[32];
    snprintf(text, sizeof text, "error %lu", GetLastError());
    return text;
}

#else

#include <dlfcn.h>

typedef void* Symbol;

static void* openLibrary(const char* path) {
    return dlopen(path, RTLD_NOW | RTLD_LOCAL);
}

static Symbol findSymbol(void* handle, const char* name) {
    return dlsym(handle, name);
}

static int closeLibrary(void* handle) {
    return dlclose(handle) == 0;
}

static int isLoaded(const char* path) {
    return dlopen(path, RTLD_NOW | RTLD_NOLOAD) != NULL;
}

static const char* lastError(void) {
    return dlerror();
}

#endif

/* Stores what `name` stands for at `pointer`, which has the type of the function. */
static int lookUp(void* handle, const char* name, void* pointer) {
    const Symbol symbol = findSymbol(handle, name);
    if (symbol == NULL) {
        fprintf(stderr, "no %s: %s\n", name, lastError());
        return 0;
    }
    memcpy(pointer, &symbol, sizeof symbol);
    return 1;
}

int loadLibrary(LoadedLibrary* library, const char* path) {
    int found;
    library->handle = openLibrary(path);
    if (library->handle == NULL) {
        fprintf(stderr, "%s\n", lastError());
        return 0;
    }
    found = lookUp(library->handle, setCallBackFunsSymbol, &library->setCallBackFuns) &
            lookUp(library->handle, "recvCanMsg", &library->recvCanMsg);
#define TALVEX_LOOK_UP(name) found &= lookUp(library->handle, #name, &library->name);
    TALVEX_CHANNEL_FUNCTIONS(TALVEX_LOOK_UP)
#undef TALVEX_LOOK_UP
    return found;
}

int unloadLibrary(LoadedLibrary* library, const char* path) {
    if (!closeLibrary(library->handle)) {
        fprintf(stderr, "%s\n", lastError());
        return 0;
    }
    if (isLoaded(path)) {
        fprintf(stderr, "the library is still loaded\n");
        return 0;
    }
    return 1;
}

static int isListed(const char* name) {
#define TALVEX_COMPARE(known)        \
    if (strcmp(name, #known) == 0) { \
        return 1;                    \
    }
    TALVEX_CHANNEL_FUNCTIONS(TALVEX_COMPARE)
#undef TALVEX_COMPARE
    return 0;
}

int checkExportList(const char* path) {
#define TALVEX_COUNT(name) +1
    const int wanted = 0 TALVEX_CHANNEL_FUNCTIONS(TALVEX_COUNT);
#undef TALVEX_COUNT
    char line[128];
    int found = 0;
    int unknown = 0;
    FILE* const file = fopen(path, "r");
    if (file == NULL) {
        perror(path);
        return 0;
    }
    while (fgets(line, sizeof line, file) != NULL) {
        line[strcspn(line, "\n")] = '\0';
        if (strncmp(line, "xcp", 3) == 0 && strcmp(line, "xcpTest") != 0) {
            if (!isListed(line)) {
                fprintf(stderr, "%s is exported and not looked up\n", line);
                ++unknown;
            }
            ++found;
        }
    }
    fclose(file);
    if (found != wanted) {
        fprintf(stderr, "%d functions are looked up, %d are exported\n", wanted, found);
    }
    return found == wanted && unknown == 0;
}
