/* SPDX-FileCopyrightText: The capi authors */
/* SPDX-License-Identifier: MIT */
/*
 * What the adapter knows about itself and its SIM. Each call asks the shared record first and,
 * where that has nothing, the device's files. All take lock 0 while they look at the record and
 * must not be called from a callback of capi_init(). A failure is logged at level 5.
 */
#ifndef CAPI_DEVICE_H
#define CAPI_DEVICE_H

#include "capi/api.h"
#include "capi/records.h"

CAPI_BEGIN_DECLS

/* Which value of the SIM. */
enum capi_simcard_info_index {
  CAPI_SIM_ICCID = 0,
  CAPI_SIM_IMSI = 1,
  CAPI_SIM_IMPI = 2,
  CAPI_SIM_IMS_DOMAIN = 3,
  CAPI_SIM_IMPU = 4,
  CAPI_SIM_MSISDN = 5,
  CAPI_SIM_MBDN = 6
};

/*
 * Copies a value of the SIM, which may be empty. Without a shared record it is looked up in
 * "info.simcard" in the data directory, under lock 10. Returns 0, or -1 for another index or when
 * that file does not tell.
 */
int capi_get_simcard_info(int index, char *buf, int len);

/*
 * Brings "info.simcard" in the data directory up to date: writes it anew from the shared record, or
 * deletes it when the ICCID or the IMSI is empty. Returns 0 always. Takes lock 10 inside lock 0.
 */
int capi_cfg_update_simcard_file(void);

/* What vendor storage holds. */
enum capi_quorble_info_type {
  CAPI_QUORBLE_IMS_VOICE = 0,    /* CAPI_IMS_VOICE_BYTES opaque bytes */
  CAPI_QUORBLE_MSISDN = 1,       /* a text at byte 4 of the buffer; may be empty; not settable */
  CAPI_QUORBLE_SERVING_CELL = 2, /* struct capi_serving_cell_info; not settable */
  CAPI_QUORBLE_UUID = 3,         /* the system UUID, a text; not settable */
  CAPI_QUORBLE_VENDOR = 4        /* CAPI_VENDOR_BYTES opaque bytes */
};

/* The cell that serves the device. */
struct capi_serving_cell_info {
  int32_t access_technology; /* 8 LTE, 9 as the modem counts, 5 another, 0 unknown */
  uint8_t duplex;            /* 1 FDD, 2 TDD, 0 unknown */
  uint8_t spare;
  char mcc[32];
  char mnc[64];
  char cellid[32];
  char enbid[96];
  char tac[26]; /* reaches to the end of the buffer, however long that is */
};

CAPI_LAYOUT_ASSERT(offsetof(struct capi_serving_cell_info, duplex) == 4, cell_duplex);
CAPI_LAYOUT_ASSERT(offsetof(struct capi_serving_cell_info, mcc) == 6, cell_mcc);
CAPI_LAYOUT_ASSERT(offsetof(struct capi_serving_cell_info, mnc) == 38, cell_mnc);
CAPI_LAYOUT_ASSERT(offsetof(struct capi_serving_cell_info, cellid) == 102, cell_cellid);
CAPI_LAYOUT_ASSERT(offsetof(struct capi_serving_cell_info, enbid) == 134, cell_enbid);
CAPI_LAYOUT_ASSERT(offsetof(struct capi_serving_cell_info, tac) == 230, cell_tac);
CAPI_LAYOUT_ASSERT(sizeof(struct capi_serving_cell_info) == 256, capi_serving_cell_info);

/*
 * Fills "buf" of "len" bytes with an item of vendor storage, cut to "len".
 * Type 0 is the exception: "buf" must hold CAPI_IMS_VOICE_BYTES whatever "len" says. It gets the
 * block of the shared record, and then, only when "len" is exactly that, what the file
 * "info.ims_voice" in the nv directory holds (lock 10).
 * Returns 0. -1 for an unknown type; for type 0 when "len" is another or the file cannot be read,
 * with the block of the shared record left in "buf" when there is no file; for type 2 without an
 * MCC; for type 3 without a UUID; and for all but type 0 when the segment is not attached.
 */
int capi_get_quorble_info(int type, void *buf, int len);

/*
 * Stores an item of vendor storage: type 0, of exactly CAPI_IMS_VOICE_BYTES, in the shared record
 * and in the file "info.ims_voice" in the nv directory (lock 10); type 4, of at most
 * CAPI_VENDOR_BYTES, in the shared record. Returns 0, or -1 for another type, for type 0 with
 * another "len" or when the file cannot be written, and for type 4 when the segment is not
 * attached.
 */
int capi_set_quorble_info(int type, const void *buf, int len);

CAPI_END_DECLS

#endif
