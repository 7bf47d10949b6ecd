/* SPDX-FileCopyrightText: The capi authors */
/* SPDX-License-Identifier: MIT */
/*
 * The short messages: one file of received and one of sent ones, "sm_recv" and "sm_send" in the nv
 * directory, shared by all processes. A file holds at most CAPI_SMS_MAX_MESSAGES messages and
 * 81920 bytes, oldest first. A process that uses them before capi_init() knows no directory and
 * takes "/quorbleconf/ims_data": for the sent ones for good, for the received ones until it knows.
 *
 * A "selector" names the file: CAPI_SMS_RECEIVED or CAPI_SMS_SENT; with another one a call returns
 * -1 and touches no file.
 *
 * Every call that uses a file takes lock 0 to find it and then lock 18 to use it, one after the
 * other; none may be made from a callback of capi_init() or while holding either lock. Signals are
 * posted (capi/event.h) after lock 18 is free again. A file that is damaged is copied to the same
 * name with ".err" appended and replaced by an empty one; one that cannot be opened, read or
 * written (no permission, no descriptor, no room) stays as it was. Both are logged at level 4.
 */
#ifndef CAPI_SMS_H
#define CAPI_SMS_H

#include "capi/api.h"

CAPI_BEGIN_DECLS

enum capi_sms_selector { CAPI_SMS_RECEIVED = 0, CAPI_SMS_SENT = 1 };

enum {
  CAPI_SMS_MAX_MESSAGES = 200,
  CAPI_SMS_MAX_TEXT = 39100,      /* the longest text that is sent */
  CAPI_SMS_TEXT_CAPACITY = 39102, /* and the two zero bytes behind it */
  CAPI_SMS_STATUS_SENDING = 2     /* the status of a message made by capi_voip_sms_send() */
};

/*
 * A short message, laid out as in the files. Only the first TextSize bytes of Text belong to it: a
 * call that stores a message looks at no more, and capi_voip_sms_get() writes no more. What comes
 * out of a file is as it was put in: texts need not be terminated, TextLen need not agree with
 * TextSize, and where TextSize is above CAPI_SMS_TEXT_CAPACITY the text is cut there.
 */
struct capi_sms_record {
  uint64_t id;          /* unique within the file, rising; given by capi_voip_sms_add() */
  uint8_t reserved[2];  /* carried unchanged */
  uint8_t status;       /* 2 for a message made by sending, else the callers' business */
  uint8_t bRead;        /* 0 is unread */
  uint8_t reserved2[8]; /* carried unchanged */
  uint32_t BeginTime;   /* when it was stored, in seconds since the epoch */
  uint32_t LastTime;    /* when it was last changed, in seconds since the epoch */
  char imsi[16];        /* of the SIM that was in use */
  char LocalNumber[24];
  char RemoteNumber[24];
  uint32_t TextLen;  /* bytes of Text that mean something */
  uint32_t TextSize; /* bytes of Text that are stored; at most CAPI_SMS_TEXT_CAPACITY */
  uint32_t TextType; /* the encoding of Text, as its sender gave it */
  char Text[CAPI_SMS_TEXT_CAPACITY];
} __attribute__((packed)); /* or the id would round the size up to a multiple of 8 */

CAPI_LAYOUT_ASSERT(offsetof(struct capi_sms_record, status) == 10, sms_status);
CAPI_LAYOUT_ASSERT(offsetof(struct capi_sms_record, bRead) == 11, sms_bRead);
CAPI_LAYOUT_ASSERT(offsetof(struct capi_sms_record, BeginTime) == 20, sms_BeginTime);
CAPI_LAYOUT_ASSERT(offsetof(struct capi_sms_record, LastTime) == 24, sms_LastTime);
CAPI_LAYOUT_ASSERT(offsetof(struct capi_sms_record, imsi) == 28, sms_imsi);
CAPI_LAYOUT_ASSERT(offsetof(struct capi_sms_record, LocalNumber) == 44, sms_LocalNumber);
CAPI_LAYOUT_ASSERT(offsetof(struct capi_sms_record, RemoteNumber) == 68, sms_RemoteNumber);
CAPI_LAYOUT_ASSERT(offsetof(struct capi_sms_record, TextLen) == 92, sms_TextLen);
CAPI_LAYOUT_ASSERT(offsetof(struct capi_sms_record, TextSize) == 96, sms_TextSize);
CAPI_LAYOUT_ASSERT(offsetof(struct capi_sms_record, TextType) == 100, sms_TextType);
CAPI_LAYOUT_ASSERT(offsetof(struct capi_sms_record, Text) == 104, sms_Text);
CAPI_LAYOUT_ASSERT(sizeof(struct capi_sms_record) == 39206, capi_sms_record);

/* What a reader has seen of a file; all zero for one that has seen nothing. */
struct capi_sms_counter {
  uint64_t file_identity; /* changes when the file is made anew */
  uint64_t first_new_id;  /* of the new messages; 0 when there is none */
  uint64_t last_new_id;
  uint32_t count; /* of new messages */
};

CAPI_LAYOUT_ASSERT(offsetof(struct capi_sms_counter, count) == 24, sms_counter_count);
CAPI_LAYOUT_ASSERT(sizeof(struct capi_sms_counter) == 32, capi_sms_counter);

/*
 * Makes both files ready: creates those that are missing, and replaces those that are damaged or
 * larger than 81920 bytes. Returns 0, or -1 when one of them could not be made or looked at.
 */
int capi_voip_sms_init(void);

/*
 * Stores a message as the newest of its file, under the next id, which is also put into "record";
 * all else is stored as it is. The oldest messages go when there are too many. A TextSize above
 * CAPI_SMS_TEXT_CAPACITY is refused. A damaged file is replaced and the message becomes its first.
 * Returns 0 or -1; posts "vop_sig_voip_sms_updated_out" with "1" and the id either way, 0 for a
 * message that was not stored.
 */
int capi_voip_sms_add(int selector, struct capi_sms_record *record);

/*
 * Gives the stored message of this id the status, bRead and LastTime of "record". Returns 0, or -1
 * when there is none or the file cannot be used; posts "vop_sig_voip_sms_updated_out" with "3" and
 * the id either way.
 */
int capi_voip_sms_update(int selector, const struct capi_sms_record *record);

/*
 * Copies the stored message of this id. Returns 0, or -1 with "record" untouched when there is none
 * or the file cannot be used; a missing file is not created.
 */
int capi_voip_sms_get(int selector, uint64_t id, struct capi_sms_record *record);

/*
 * Removes the stored message of this id. Returns 0, or -1 when there is none or the file cannot be
 * used; posts "vop_sig_voip_sms_updated_out" with "2" and the id either way.
 */
int capi_voip_sms_del_by_id(int selector, uint64_t id);

/*
 * Counts the messages that came since "previous" was filled in; all are new when the file was made
 * anew meanwhile. "state" is zeroed first, so when nothing is new its ids are 0: a reader then
 * keeps its former state, and takes "state" over as its next "previous" when count is above 0.
 * The two may be the same. Returns 0, or -1 when the file cannot be used.
 */
int capi_voip_sms_get_unread_sm_num(int selector, const struct capi_sms_counter *previous,
                                    struct capi_sms_counter *state);

/*
 * Replaces a file by an empty one of a new identity, whose ids start at 1 again. Returns 0 or -1;
 * posts "vop_sig_voip_sms_updated_out" with "4" and "0" either way.
 */
int capi_voip_sms_clean(int selector);

/*
 * Reads a whole file, as it is at this moment, and hands it to the caller, who gives it back with
 * capi_voip_sms_unload(). A missing file is created. Returns 0, or -1 with "image" null.
 */
int capi_voip_sms_load(int selector, void **image);

/* Frees a loaded file and sets "image" to null; a null one is ignored. Returns 0. Takes no lock. */
int capi_voip_sms_unload(void **image);

/*
 * Stores a message to "remote_number" (cut to 23 characters) in the file of sent ones and asks the
 * voice application to send it, with the signal "vop_sig_voip_sms_send_out" and the id. "text" are
 * "text_len" bytes, at most CAPI_SMS_MAX_TEXT, encoded as "text_type" tells. The local number is
 * that of the IMS voice block with a "+" in front, else the LTE MSISDN, with one unless it has it.
 * Returns 0, or -1 when an argument is refused, no SIM is known or the message cannot be stored;
 * nothing is posted then. Takes lock 10 as well.
 */
int capi_voip_sms_send(const char *remote_number, uint32_t text_type, const void *text,
                       uint32_t text_len);

/*
 * Walk through a file that capi_voip_sms_load() gave, oldest first. With "all" 0 only messages of
 * the SIM now in use are seen, those with its IMSI; otherwise every one. "record" is zeroed, then
 * the message copied; it may be the same as "current". The message after or before is looked for
 * from the first one that has the id, BeginTime, RemoteNumber and LocalNumber of "current".
 * Return 0, or -1 when there is no such message, or the IMSI is needed but not known. Take lock 0
 * when "all" is 0, and otherwise none.
 */
int capi_voip_sms_get_first(const void *image, struct capi_sms_record *record, int all);
int capi_voip_sms_get_next(const void *image, const struct capi_sms_record *current,
                           struct capi_sms_record *record, int all);
int capi_voip_sms_get_last(const void *image, struct capi_sms_record *record, int all);
int capi_voip_sms_get_previous(const void *image, const struct capi_sms_record *current,
                               struct capi_sms_record *record, int all);

/*
 * Receives one message, which is valid during the call. Runs with no lock held and may call
 * everything. The result is ignored.
 */
typedef int (*capi_sms_dump_cb)(const struct capi_sms_record *record, void *context);

/*
 * Hands every message of a file to "callback", oldest first, together with "context".
 * Returns 0, or -1 when the file cannot be used.
 */
int capi_voip_sms_dump(int selector, capi_sms_dump_cb callback, void *context);

/*
 * Hands every message to "callback" as capi_voip_sms_dump() does, the received ones, then the sent
 * ones. Returns 0 whatever came of it.
 */
int capi_voip_sms_dump_all(capi_sms_dump_cb callback, void *context);

/*
 * Copies a file to "destination", a path that goes to the shell as it is. Returns 0 whatever comes
 * of the copying, and -1 when the destination is the file itself, or for a path, here or there,
 * that a shell would interpret (rule 11).
 */
int capi_voip_sms_get_file(int selector, const char *destination);

/*
 * Copies the received messages to "base_path" with ".recv" appended and the sent ones to that with
 * ".send"; a path above 255 characters is skipped. Returns 0 whatever comes of the copying, and -1
 * for a path, here or there, that a shell would interpret (rule 11).
 */
int capi_voip_sms_backup(const char *base_path);

CAPI_END_DECLS

#endif
