#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
source "$(dirname "$0")/support.sh"

start_adapter
test_row=$'1\t38\t/tmp/carrier_config/voip_TEST_XX.conf\t001\t01\t2\t'
expect 0 "$test_row"$'\tIMSI\tyes\tfirst that fits the IMSI' carrier

# row FILE MCC MNCS: the number of the row that has these, of all that there are.
carriers=$source_dir/tests/carrier/golden/carriers.tsv
row() { grep -n "/voip_$1.conf.*"$'\t'"$2"$'\t'"$3\$" "$carriers" | cut -d: -f1; }
all=$(wc -l <"$carriers")

csl=$(row CSL_HK 454 00,02,10,18)$'\t29\t/tmp/carrier_config/voip_CSL_HK.conf\t454\t00,02,10,18\t2\t\tIMSI\t'
webbing=$(row Webbing 454 00)$'\t31\t/tmp/carrier_config/voip_Webbing.conf\t454\t00\t2\t8985235\t'
expect 0 "${csl}no	
${webbing}IMSI and ICCID"$'\tyes\tfits both' carrier 454001234567890 8985235000000000001
expect 0 "${csl}yes	first that fits the IMSI
${webbing}IMSI"$'\tno\t' carrier 454001234567890 8988200000000000001
expect_error 1 'capictl: no carrier fits IMSI 999701234567890; the device treats the SIM as carrier 38' \
  carrier 999701234567890 8900000000000000001
echo '999 70 2' >/quorbleconf/config/test_sim_info
expect 0 $'\t2\t/tmp/carrier_config/voip_CMCC_CN.conf\t460\t00,02,04,07,08\t2\t\ttest SIM file\tyes\tno other fits' \
  carrier 999701234567890 8900000000000000001
list=$("${tool[@]}" carrier list)
[ "$(wc -l <<<"$list")" -eq "$all" ] || fail 'carrier list is not whole'
[ "$(head -n 1 <<<"$list")" = "$test_row" ] || fail 'carrier list begins wrongly'

expect_on_terminal 0 'row  id  file  MCC  MNCs  len  ICCID  fits by  chosen  why
  1  38        001  01      2         IMSI     yes     first that fits the IMSI
    file: /tmp/carrier_config/voip_TEST_XX.conf' carrier
expect 0 '[{
		"row":	1,
		"carrier":	38,
		"file":	"/tmp/carrier_config/voip_TEST_XX.conf",
		"mcc":	"001",
		"mncs":	"01",
		"mnc_length":	2,
		"iccid_prefix":	"",
		"fits_by":	"IMSI",
		"chosen":	true,
		"why":	"first that fits the IMSI"
	}]' carrier --json
# An IMSI alone is looked at with the ICCID of the SIM.
expect 0 "${csl}yes	first that fits the IMSI
${webbing}IMSI"$'\tno\t' carrier 454001234567890
[ "$("${tool[@]}" carrier list --json | grep -c '"row"')" -eq "$all" ] || fail 'the JSON is not whole'

in_case 'Without a SIM there is nothing to tell, unless one is named'
expect 0 '' config set sim_info.IMSI ''
expect_error 3 'capictl: no SIM is inserted; name an IMSI and an ICCID: capictl carrier IMSI ICCID' carrier
expect 0 "$test_row"$'\tIMSI\tyes\tfirst that fits the IMSI' carrier 001010123456789 1

finish
