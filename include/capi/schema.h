/* SPDX-FileCopyrightText: The capi authors */
/* SPDX-License-Identifier: MIT */
/*
 * The parameter schema: a JSON document that describes configurable parameters. Its members are
 * sections, the members of a section are parameters, and those of a parameter its attributes:
 *
 *   "value"                       text, the changed value; "" while the parameter has its default
 *   "default_value"               text
 *   "is_changed"                  number, not 0 when "value" holds
 *   "type"                        "bool", "int", "uint", "base64", "datetime" or "string"
 *   "sub_strtype"                 of a "string": "ipv4", "ipv6", "mac", "url" or "netmask"
 *   "min_value", "max_value"      numbers
 *   "min_strlen", "max_strlen"    numbers
 *   "allowed_list"                text
 *
 * Names are compared exactly. An attribute of another JSON type counts as absent. Values are not
 * checked against type and limits: that is up to the caller.
 *
 * Documents and their parts are JSON values of cJSON (cjson/cJSON.h), which clients may link too.
 * Parts and texts that are handed out belong to the document and live until they are changed or
 * the document is freed. The functions take no lock and may be called from any callback; a document
 * is used by one thread at a time.
 */
#ifndef CAPI_SCHEMA_H
#define CAPI_SCHEMA_H

#include "capi/api.h"

CAPI_BEGIN_DECLS

struct cJSON;

/* What vkrJson_GetParamTypeNumber() tells: the type, of a "string" its subtype. */
enum capi_param_type {
  CAPI_PARAM_BOOL = 0,
  CAPI_PARAM_INT = 1,
  CAPI_PARAM_UINT = 2,
  CAPI_PARAM_BASE64 = 3,
  CAPI_PARAM_DATETIME = 4,
  CAPI_PARAM_STRING = 5, /* without a subtype, or with one that is not known */
  CAPI_PARAM_IPV4 = 6,
  CAPI_PARAM_IPV6 = 7,
  CAPI_PARAM_MAC = 8,
  CAPI_PARAM_URL = 9,
  CAPI_PARAM_NETMASK = 10,
  CAPI_PARAM_UNKNOWN = 11
};

/*
 * Loads the document in a file. Returns it, to be freed with vkrJson_Uninit(), or null when the
 * file cannot be read or is not JSON; failures but the last are told on standard output as well.
 */
struct cJSON *vkrJson_Init(const char *path);

/* Frees a document and everything in it. */
int vkrJson_Uninit(struct cJSON *root);

/*
 * Replaces the file at "path" by the document, as formatted text. Failures are told on standard
 * output only; the file then stays as it was.
 */
int vkrJson_SaveToFile(const struct cJSON *root, const char *path);

/* Return the section of a document, or the parameter of a section, of this name, or null. */
struct cJSON *vkrJson_GetSectionObject(const struct cJSON *root, const char *name);
struct cJSON *vkrJson_GetParamObject(const struct cJSON *section, const char *name);

/* Return the name of a section or parameter; null when the item has none. */
const char *vkrJson_GetSectionName(const struct cJSON *item);
const char *vkrJson_GetParamName(const struct cJSON *item);

/* Return the text of an attribute, or null when it is absent. */
const char *vkrJson_GetParamValue(const struct cJSON *param);
const char *vkrJson_GetParamDefaultValue(const struct cJSON *param);
const char *vkrJson_GetParamType(const struct cJSON *param);
const char *vkrJson_GetParamSubStrType(const struct cJSON *param);
const char *vkrJson_GetParamAllowedList(const struct cJSON *param);

/*
 * Returns the value that holds: "value" when "is_changed" is not 0, else "default_value"; null when
 * either attribute is absent.
 */
const char *vkrJson_GetParamCurrentValue(const struct cJSON *param);

/* Tell the number of an attribute. Return -1, with *out untouched, when it is absent. */
int vkrJson_GetParamMinValue(const struct cJSON *param, int *out);
int vkrJson_GetParamMaxValue(const struct cJSON *param, int *out);
int vkrJson_GetParamMinStrlen(const struct cJSON *param, int *out);
int vkrJson_GetParamMaxStrlen(const struct cJSON *param, int *out);
int vkrJson_GetParamIsChanged(const struct cJSON *param, int *out);

/*
 * Tells the type as an enum capi_param_type. Returns the text that decided: "sub_strtype" for the
 * known subtypes, else "type"; null, and CAPI_PARAM_UNKNOWN, when "type" is absent.
 */
const char *vkrJson_GetParamTypeNumber(const struct cJSON *param, int *out);

/*
 * Gives a parameter a value: the default clears "value" and "is_changed", any other sets both. The
 * text is copied; it must not be part of "value" itself. Returns 0 when the parameter changed, 1
 * when it has that value already, -1 when "is_changed", "value" or "default_value" is absent or
 * cannot be updated.
 */
int vkrJson_SetParamValue(struct cJSON *param, const char *text);

/* Sets "is_changed" alone. Returns 0, 1 when it is so already, -1 when it is absent. */
int vkrJson_SetParamIsChanged(struct cJSON *param, int flag);

/* Set an attribute that the parameter has. */
int vkrJson_SetParamMinStrlen(struct cJSON *param, int n);
int vkrJson_SetParamMaxStrlen(struct cJSON *param, int n);

/* Adds a number to an object, behind its other members; without memory nothing happens. */
void vkrJson_AddNumberToObject(struct cJSON *object, const char *name, int n);

CAPI_END_DECLS

#endif
