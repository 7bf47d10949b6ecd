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

/* What capi_get_hardware_info() tells. */
enum capi_hardware_info_index {
  CAPI_HW_MODEL_NAME = 0,
  CAPI_HW_VERSION = 1,
  CAPI_HW_SERIAL = 2,
  CAPI_HW_MANUFACTURER = 3,
  CAPI_HW_MAC_PREFIX = 4, /* the first three octets in capitals without colons */
  CAPI_HW_COUNTRY_CODE = 5,
  CAPI_HW_PRODUCT_CLASS = 6,
  CAPI_HW_BOOT_VERSION = 7,
  CAPI_HW_PRODUCT_DESCRIPTION = 8,
  CAPI_HW_IMEI = 9,
  CAPI_HW_WAN_MAC = 10,
  CAPI_HW_LAN_MAC = 11
};

/*
 * Copies a fact about the hardware: from the shared record, else from "/tmp/m_data", else a
 * default. A MAC prefix needs 7 bytes, or it is the default.
 * Returns 0, or -1 for another index, and for the serial number when it is the default.
 */
int capi_get_hardware_info(int index, char *buf, int len);

/*
 * Copies the firmware version of the shared record, else the first line of "/etc/firmware_version"
 * with its line end, else "Unknown". Fails for a null buffer only.
 */
int capi_get_firmware_version(char *buf, int len);

/* Copies the firmware build number. Returns -1 when it is empty. */
int capi_get_fw_build_number(char *buf, int len);

/* Copies the IMEI of the device, else that of capi_get_hardware_info(). */
int capi_get_device_imei(char *buf, int len);

/* Copies the name of the device. Returns -1 when it is empty. */
int capi_get_device_name(char *buf, int len);

/*
 * Copy the address or the MAC of a network interface, asking ifconfig through the shell: the name
 * goes there as it is. The MAC is that of the WAN, whatever the name, when the shared record has
 * one. Return -1 when ifconfig does not tell; that is not logged. A name that cannot stand in the
 * command is refused with -1 and a log line: for the address one with a single quote, a slash or a
 * line end, for the MAC one that a shell would interpret (rule 11).
 */
int capi_get_interface_ip(const char *ifname, char *buf, int len);
int capi_get_interface_mac(const char *ifname, char *buf, int len);

/* Copies the WAN address of the shared record, else asks ifconfig for that of the WAN interface. */
int capi_get_runtime_wan_ip(char *buf, int len);

/* Copies the address under which the Internet sees the device. Returns -1 when it is empty. */
int capi_get_runtime_public_ipaddr(char *buf, int len);

/*
 * Copy the name of an interface: of the WAN, of the baseband (which is the WAN's), of the XCAP and
 * of the 4G connection. Return -1 when it is empty. The first also logs a line at level 3 always.
 */
int capi_get_runtime_wan_interface(char *buf, int len);
int capi_get_runtime_bb_interface(char *buf, int len);
int capi_get_runtime_xcap_interface(char *buf, int len);
int capi_get_runtime_3g_interface(char *buf, int len);

/*
 * Counts the lines that ps shows for "name", which goes to the shell as it is, less two for the
 * counting itself: for a process that does not run that may be -1 or 0. Returns -1 when nothing can
 * be counted, and with a log line for a name that a shell would interpret (rule 11). Takes no
 * lock.
 */
int capi_get_runtime_process_num(const char *name);

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
  int32_t access_technology; /* 8 where the modem tells 7, 9 for 9, 5 for others, 0 for none */
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
 * Fills "buf" of "len" bytes, which are zeroed first, with an item of vendor storage, cut to "len".
 * Type 0 is the exception: "buf" must hold CAPI_IMS_VOICE_BYTES whatever "len" says. It gets the
 * block of the shared record, and then, only when "len" is exactly that, what the file
 * "info.ims_voice" in the nv directory holds (lock 10). That path has at most 127 characters; a
 * longer one is a file that cannot be opened.
 * Returns 0. -1 for an unknown type; for type 0 when "len" is another or the file cannot be read,
 * with the block of the shared record left in "buf" when there is no file; for type 2 without an
 * MCC; for type 3 without a UUID; and for all but type 0 when the segment is not attached.
 */
int capi_get_quorble_info(int type, void *buf, int len);

/*
 * Stores an item of vendor storage. Type 0: "buf" must hold CAPI_IMS_VOICE_BYTES whatever "len"
 * says; they go into the shared record and then, only when "len" is exactly that, into the file
 * "info.ims_voice" in the nv directory (lock 10). Type 4, of at most CAPI_VENDOR_BYTES, goes into
 * the shared record. Returns 0, or -1 for another type, for type 0 with another "len" or when the
 * file cannot be written, and for type 4 when the segment is not attached.
 * Type 0 keeps lock 10 until sync() has written what all the system has to write. Who writes a
 * voice-stack file may wait for that with lock 0 in hand, and everybody else for him.
 */
int capi_set_quorble_info(int type, const void *buf, int len);

CAPI_END_DECLS

#endif
