// What calls on kernel objects and waits take and give. Part of wintypes.h, which every file includes instead; Windows has its own.
#pragma once

#if !defined( _WIN32 )

// Results of waits. With several handles the index of the one is added to the first two.
#define WAIT_OBJECT_0 0u
#define WAIT_ABANDONED_0 0x00000080u
#define WAIT_ABANDONED WAIT_ABANDONED_0
#define WAIT_FAILED 0xFFFFFFFFu
#define MAXIMUM_WAIT_OBJECTS 64

// Rights. The object's own ones stand in the low half.
#define DELETE 0x00010000u
#define READ_CONTROL 0x00020000u
#define WRITE_DAC 0x00040000u
#define WRITE_OWNER 0x00080000u
#define SYNCHRONIZE 0x00100000u
#define STANDARD_RIGHTS_REQUIRED 0x000F0000u
#define STANDARD_RIGHTS_ALL 0x001F0000u
#define EVENT_MODIFY_STATE 0x0002u
#define EVENT_ALL_ACCESS 0x001F0003u
#define MUTEX_MODIFY_STATE 0x0001u
#define MUTEX_ALL_ACCESS 0x001F0001u
#define THREAD_TERMINATE 0x0001u
#define THREAD_SUSPEND_RESUME 0x0002u
#define THREAD_QUERY_INFORMATION 0x0040u
#define THREAD_ALL_ACCESS 0x001F03FFu
#define PROCESS_TERMINATE 0x0001u
#define PROCESS_VM_READ 0x0010u
#define PROCESS_QUERY_INFORMATION 0x0400u
#define PROCESS_ALL_ACCESS 0x001F0FFFu

// Protection of a mapping, and access of a view.
#define PAGE_READONLY 0x02u
#define PAGE_READWRITE 0x04u
#define SEC_RESERVE 0x04000000u
#define MEM_COMMIT 0x00001000u
#define SECTION_QUERY 0x0001u
#define SECTION_MAP_WRITE 0x0002u
#define SECTION_MAP_READ 0x0004u
#define SECTION_ALL_ACCESS 0x000F001Fu
#define FILE_MAP_WRITE SECTION_MAP_WRITE
#define FILE_MAP_READ SECTION_MAP_READ
#define FILE_MAP_ALL_ACCESS SECTION_ALL_ACCESS

#define CREATE_SUSPENDED 0x00000004u
#define STILL_ACTIVE 259u
#define MAXIMUM_SUSPEND_COUNT 127

// Messages of threads.
#define WM_NULL 0x0000u
#define WM_PAINT 0x000Fu
#define WM_CLOSE 0x0010u
#define WM_QUIT 0x0012u
#define WM_USER 0x0400u
#define WM_APP 0x8000u

#define PM_NOREMOVE 0x0000u
#define PM_REMOVE 0x0001u

// What kinds of input a wait looks for. Messages of threads are of the kinds POSTMESSAGE and ALLPOSTMESSAGE.
#define QS_KEY 0x0001u
#define QS_MOUSEMOVE 0x0002u
#define QS_MOUSEBUTTON 0x0004u
#define QS_POSTMESSAGE 0x0008u
#define QS_TIMER 0x0010u
#define QS_PAINT 0x0020u
#define QS_SENDMESSAGE 0x0040u
#define QS_HOTKEY 0x0080u
#define QS_ALLPOSTMESSAGE 0x0100u
#define QS_MOUSE ( QS_MOUSEMOVE | QS_MOUSEBUTTON )
#define QS_INPUT ( QS_MOUSE | QS_KEY )
#define QS_ALLEVENTS ( QS_INPUT | QS_POSTMESSAGE | QS_TIMER | QS_PAINT | QS_HOTKEY )
#define QS_ALLINPUT ( QS_ALLEVENTS | QS_SENDMESSAGE )

#endif
