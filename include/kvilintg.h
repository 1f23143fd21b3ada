/* kvilintg.h: the exports of kvilintg.dll, the Kvil Integration Library, for
 * the product's setup and configuration tool. Plain C (C99 or later, or C++);
 * every export uses the platform's default x64 calling convention, 8-bit
 * strings are ANSI, and calls come from one thread at a time.
 *
 * Each host application in a given version is a host module with a suffix
 * ("WW80", "Editor", "TheBat50", ...), reached through six exports named by an
 * operation word and the suffix: Exist<H>, Info<H>, Avail<H>, Attach<H>,
 * Detach<H>, Check<H>. Bind them by name (GetProcAddress) through the
 * operation types below. The named exports are declared as prototypes and as
 * pointer types for binding by name. */
#ifndef KVILINTG_H
#define KVILINTG_H

#include <stddef.h> /* wchar_t: UTF-16 on Windows */
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* What a host export answers. */
typedef uint32_t KvilResult;
#define KVIL_NO ((KvilResult)0)
#define KVIL_YES ((KvilResult)1)
/* The host exists but does not take this tool kind (a thesaurus for Excel). */
#define KVIL_NOT_APPLICABLE ((KvilResult)0xFFFFFFFFu)

/* Tool kinds, the first argument of every host export; a host rejects any
 * other value before it touches anything. */
#define KVIL_SPELLER 0
#define KVIL_GRAMMAR 1
#define KVIL_THESAURUS 2
#define KVIL_HYPHENATOR 3
#define KVIL_TOOL_KIND_COUNT 4

/* The product's two languages (LCID, the second argument). */
#define KVIL_LCID_RUSSIAN 1049
#define KVIL_LCID_UKRAINIAN 1058

/* ---- The six operations of every host module ---- */

/* Exist<H>: 1 the host is installed, 0 it is not, KVIL_NOT_APPLICABLE it does
 * not take this tool kind. The two reserved values are the caller's own.
 * Avail<H>: 1 when the product's files for this tool and language are present.
 * Attach<H>, Detach<H>: non-zero on success.
 * Check<H>: 1 when the host's attachment record says "Attached". */
typedef KvilResult (*KvilHostOperation)(int32_t kind, int32_t lcid, intptr_t reserved1, intptr_t reserved2);
typedef KvilHostOperation KvilExistProc;
typedef KvilHostOperation KvilAvailProc;
typedef KvilHostOperation KvilAttachProc;
typedef KvilHostOperation KvilDetachProc;
typedef KvilHostOperation KvilCheckProc;

/* Info<H>: writes "<application key>\0<version>\0\0" (e.g. "WINWORD", "8.0")
 * into buffer, whose capacity *length holds on entry, and stores the whole
 * list's length there. Always 1. */
typedef KvilResult (*KvilInfoProc)(int32_t kind, int32_t lcid, char* buffer, int32_t* length);

/* The operation words, in the order Exist, Info, Avail, Attach, Detach, Check. */
#define KVIL_HOST_OPERATIONS(X) X(Exist) X(Info) X(Avail) X(Attach) X(Detach) X(Check)

/* ---- Named exports ---- */

/* Stores a non-zero product version; nothing in the library reads it back (the
 * product version always comes from the registry). */
void SetKvilVersion(int32_t version);

/* Office 2000 to 2013: points the Installer's component registrations of
 * Office's tool of this kind and language at the product's engine and lexicon
 * in productDir, or, with restore 1, back at Office's own files. officeVersion
 * is Office's major version (9 for Office 2000, then 10, 11, 12, 14, 15).
 * 1 when redirected, KVIL_NOT_APPLICABLE when Office has no such component
 * (nothing changed), 0 on failure. */
KvilResult RegisterOffice90(int32_t kind, int32_t lcid, const char* productDir, const char* engineFile,
                            const char* lexiconFile, int32_t restore, int32_t officeVersion);

/* The path of Office's own engine (which 0) or dictionary (which 1) of the
 * tool kind and language, searched from the newest Office down, then in the
 * shared proofing-tools tree under the key word of registry generation
 * `generation`. buffer's capacity in *length on entry, the path's length on
 * return. The LCID when a path was found, else 0. An Installer path that
 * contains the text `excluded` is passed over. */
uint32_t GetOriginalDictOrEngineModule(int32_t kind, int32_t lcid, char* buffer, uint32_t* length, int32_t which,
                                       int32_t generation, const char* excluded);

/* The Installer's path of Office's English lexicon data (which 1) or proofing
 * data file (other values) in buffer; success shows in a non-zero *length.
 * Always 0. */
uint32_t GetEngNLSModules(int32_t lcid, char* buffer, uint32_t* length, int32_t which);

/* The added-files list: files the library placed outside the product's folder.
 * extAddFilePath adds one path; extSaveToXml merges the list into
 * folder\addfiles.xml and releases it. Call extSaveToXml once, at the end of a
 * setup run. Paths shorter than 11 characters are ignored. */
void extAddFilePath(const char* path);
void extSaveToXml(const char* folder);

/* Office 2007 (12), 2010 (14) and 2013 (15), Office-wide: AttachOffice<n>
 * puts the product's proofing-tool module from productDir in place of Word's,
 * keeping the original once; 1 done, 0 not done. DetachOffice<n> puts the
 * original back; 1 done or nothing to do, 0 failed. */
KvilResult AttachOffice12(const char* productDir);
KvilResult AttachOffice14(const char* productDir);
KvilResult AttachOffice15(const char* productDir);
KvilResult DetachOffice12(void);
KvilResult DetachOffice14(void);
KvilResult DetachOffice15(void);

/* Microsoft's own tool of this kind and language: Detach... leaves Office the
 * product's only (Microsoft's switched out), Attach... gives Microsoft's back.
 * The Office 2013 pair moves files: 1 all moves done or nothing to do, 0 a move
 * failed. */
void DetachMS2007ProofingTool(int32_t kind, int32_t lcid);
void AttachMS2007ProofingTool(int32_t kind, int32_t lcid);
void DetachMS2010ProofingTool(int32_t kind, int32_t lcid);
void AttachMS2010ProofingTool(int32_t kind, int32_t lcid);
KvilResult DetachMS2013ProofingTool(int32_t kind, int32_t lcid);
KvilResult AttachMS2013ProofingTool(int32_t kind, int32_t lcid);

/* Microsoft's Russian grammar checker: DetachGrammarMS switches Office 2010's
 * out, AttachGrammarMS back in. For Office 2013 the pair is crossed:
 * DetachGrammarMS15 switches Microsoft's back in, AttachGrammarMS15 out. */
void DetachGrammarMS(void);
void AttachGrammarMS(void);
void DetachGrammarMS15(void);
void AttachGrammarMS15(void);

/* Office 2013: copy the product's grammar checker, thesaurus, or the
 * hyphenator of the language (1049 Russian, else Ukrainian) into Office's
 * PROOF folder under Microsoft's file names. */
void CopyGrammar15(void);
void CopyThesaurus15(void);
void CopyHyphenator15(int32_t lcid);

/* Word's install folder of an Office version name ("14.0") into path, which
 * holds 260 characters: 260 when found, else 0. */
int32_t GetOfficeApplicationsPath(const wchar_t* versionName, wchar_t* path);

/* Delete the plug-in, its resources and the start-up script copied into
 * InDesign's (RemoveInCopyPln: InCopy's) folders. Always 1. */
KvilResult RemoveInDesign(void);
KvilResult RemoveInCopyPln(void);

/* The full path of Internet Explorer's program (GetIEFullExePath, as App Paths
 * names it) or The Bat!'s (GetTheBatFullExePath, code page 1251) with its
 * terminator in buffer: 1. 0 and nothing written when the program is not found
 * or does not fit in capacity bytes. */
KvilResult GetIEFullExePath(char* buffer, int32_t capacity);
KvilResult GetTheBatFullExePath(char* buffer, int32_t capacity);

/* Every named export, for binding them all by name: X(name). */
#define KVIL_NAMED_EXPORTS(X)                                                                             \
  X(SetKvilVersion) X(RegisterOffice90) X(GetOriginalDictOrEngineModule) X(GetEngNLSModules)            \
  X(AttachOffice12) X(AttachOffice14) X(AttachOffice15) X(DetachOffice12) X(DetachOffice14)              \
  X(DetachOffice15) X(DetachMS2007ProofingTool) X(AttachMS2007ProofingTool) X(DetachMS2010ProofingTool)  \
  X(AttachMS2010ProofingTool) X(DetachMS2013ProofingTool) X(AttachMS2013ProofingTool) X(DetachGrammarMS) \
  X(AttachGrammarMS) X(DetachGrammarMS15) X(AttachGrammarMS15)                                             \
  X(extAddFilePath) X(extSaveToXml) X(CopyGrammar15) X(CopyThesaurus15) X(CopyHyphenator15)             \
  X(GetOfficeApplicationsPath) X(RemoveInDesign) X(RemoveInCopyPln) X(GetIEFullExePath)                 \
  X(GetTheBatFullExePath)

typedef void (*KvilSetKvilVersionProc)(int32_t version);
typedef KvilResult (*KvilRegisterOffice90Proc)(int32_t kind, int32_t lcid, const char* productDir,
                                                const char* engineFile, const char* lexiconFile, int32_t restore,
                                                int32_t officeVersion);
typedef uint32_t (*KvilGetOriginalDictOrEngineModuleProc)(int32_t kind, int32_t lcid, char* buffer,
                                                          uint32_t* length, int32_t which, int32_t generation,
                                                          const char* excluded);
typedef uint32_t (*KvilGetEngNLSModulesProc)(int32_t lcid, char* buffer, uint32_t* length, int32_t which);
typedef KvilResult (*KvilAttachOffice12Proc)(const char* productDir);
typedef KvilAttachOffice12Proc KvilAttachOffice14Proc;
typedef KvilAttachOffice12Proc KvilAttachOffice15Proc;
typedef KvilResult (*KvilDetachOffice12Proc)(void);
typedef KvilDetachOffice12Proc KvilDetachOffice14Proc;
typedef KvilDetachOffice12Proc KvilDetachOffice15Proc;
typedef void (*KvilDetachMS2007ProofingToolProc)(int32_t kind, int32_t lcid);
typedef KvilDetachMS2007ProofingToolProc KvilAttachMS2007ProofingToolProc;
typedef KvilDetachMS2007ProofingToolProc KvilDetachMS2010ProofingToolProc;
typedef KvilDetachMS2007ProofingToolProc KvilAttachMS2010ProofingToolProc;
typedef KvilResult (*KvilDetachMS2013ProofingToolProc)(int32_t kind, int32_t lcid);
typedef KvilDetachMS2013ProofingToolProc KvilAttachMS2013ProofingToolProc;
typedef void (*KvilDetachGrammarMSProc)(void);
typedef KvilDetachGrammarMSProc KvilAttachGrammarMSProc;
typedef KvilDetachGrammarMSProc KvilDetachGrammarMS15Proc;
typedef KvilDetachGrammarMSProc KvilAttachGrammarMS15Proc;
typedef void (*KvilextAddFilePathProc)(const char* path);
typedef void (*KvilextSaveToXmlProc)(const char* folder);
typedef void (*KvilCopyGrammar15Proc)(void);
typedef void (*KvilCopyThesaurus15Proc)(void);
typedef void (*KvilCopyHyphenator15Proc)(int32_t lcid);
typedef int32_t (*KvilGetOfficeApplicationsPathProc)(const wchar_t* versionName, wchar_t* path);
typedef KvilResult (*KvilRemoveInDesignProc)(void);
typedef KvilResult (*KvilRemoveInCopyPlnProc)(void);
typedef KvilResult (*KvilGetIEFullExePathProc)(char* buffer, int32_t capacity);
typedef KvilResult (*KvilGetTheBatFullExePathProc)(char* buffer, int32_t capacity);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* KVILINTG_H */
