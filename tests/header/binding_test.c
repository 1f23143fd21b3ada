/* A caller written in C99: kvilintg.h compiles as C, each prototype agrees with
 * its pointer type (linked through the import library), and every name the
 * module-definition file exports binds through a type the header declares, as
 * every name the header declares is exported.
 *
 *   binding_test <kvilintg.def> */
#include <windows.h>

#include <stdio.h>
#include <string.h>

#include "kvilintg.h"

#define MAX_NAMES 1024
#define NAME_CAPACITY 64

static char def_names[MAX_NAMES][NAME_CAPACITY];
static int def_name_count;
static int failures;

static void fail(const char* what, const char* name) {
  printf("%s: %s\n", what, name);
  ++failures;
}

static int read_def(const char* path) {
  FILE* file = fopen(path, "r");
  char line[256];
  int in_exports = 0;
  if (file == NULL) return 0;
  while (fgets(line, sizeof line, file) != NULL && def_name_count < MAX_NAMES) {
    char name[NAME_CAPACITY];
    if (sscanf(line, " %63s", name) != 1) continue;
    if (strcmp(name, "EXPORTS") == 0) {
      in_exports = 1;
    } else if (in_exports) {
      memcpy(def_names[def_name_count++], name, sizeof name);
    }
  }
  fclose(file);
  return def_name_count > 0;
}

static int exported(const char* name) {
  int i;
  for (i = 0; i < def_name_count; ++i) {
    if (strcmp(def_names[i], name) == 0) return 1;
  }
  return 0;
}

/* GetProcAddress's type says nothing of the export's; the header's type does. */
#define UNTYPED(dll, name) ((void (*)(void))GetProcAddress(dll, name))

/* Binds a named export through its declared pointer type, which its prototype
 * must convert to without a cast. */
#define BIND_NAMED(export_name)                                                          \
  if (strcmp(name, #export_name) == 0) {                                                 \
    Kvil##export_name##Proc declared = export_name;                                     \
    Kvil##export_name##Proc bound = (Kvil##export_name##Proc)UNTYPED(dll, name);       \
    return declared != NULL && bound != NULL;                                            \
  }

/* A host export: an operation word and a suffix of at least one character. */
#define BIND_OPERATION(word)                                                              \
  if (strncmp(name, #word, sizeof #word - 1) == 0 && name[sizeof #word - 1] != '\0') {   \
    Kvil##word##Proc bound = (Kvil##word##Proc)UNTYPED(dll, name);                     \
    *suffix = name + sizeof #word - 1;                                                   \
    return bound != NULL;                                                                \
  }

static int bind_typed(HMODULE dll, const char* name, const char** suffix) {
  *suffix = NULL;
  KVIL_NAMED_EXPORTS(BIND_NAMED)
  KVIL_HOST_OPERATIONS(BIND_OPERATION)
  return -1;
}

/* Each suffix the .def names must carry all six operations. */
#define CHECK_OPERATION(word)                                           \
  snprintf(host_export, sizeof host_export, "%s%s", #word, suffix);     \
  if (!exported(host_export)) fail("declared but not exported", host_export);

static void check_all_operations(const char* suffix) {
  char host_export[NAME_CAPACITY + 8];
  KVIL_HOST_OPERATIONS(CHECK_OPERATION)
}

#define CHECK_NAMED_EXPORTED(export_name) \
  if (!exported(#export_name)) fail("declared but not exported", #export_name);

int main(int argc, char** argv) {
  HMODULE dll;
  int i;
  if (argc != 2 || !read_def(argv[1])) {
    printf("usage: binding_test <kvilintg.def>, naming a readable file with exports\n");
    return 2;
  }
  dll = LoadLibraryA("kvilintg.dll");
  if (dll == NULL) {
    printf("kvilintg.dll not loaded\n");
    return 1;
  }
  for (i = 0; i < def_name_count; ++i) {
    const char* suffix;
    const int bound = bind_typed(dll, def_names[i], &suffix);
    if (bound < 0) {
      fail("exported without a declared type", def_names[i]);
    } else if (!bound) {
      fail("not bound", def_names[i]);
    } else if (suffix != NULL) {
      check_all_operations(suffix);
    }
  }
  KVIL_NAMED_EXPORTS(CHECK_NAMED_EXPORTED)
  FreeLibrary(dll);
  printf("%d exports bound, %d failures\n", def_name_count, failures);
  return failures == 0 ? 0 : 1;
}
