#!/usr/bin/env bash
# Fails when the producer's dynamic symbol table defines anything but GenTL functions, or lacks
# one of the GenTL functions that the header declares and the producer already implements.
set -euo pipefail
cti=$1
header=$2
exported=$(nm -D --defined-only "$cti" | awk '$2 == "T" || $2 == "W" || $2 == "D" || $2 == "B" || $2 == "V" {print $3}' | sort)
declared=$(grep -oE '^GC_API [A-Za-z]+' "$header" | awk '{print $2}' | sort)
others=$(nm -D --defined-only "$cti" | awk '{print $NF}' | sort | comm -23 - <(echo "$declared"))
if [ -n "$others" ]; then
  echo "exported symbols that are not GenTL functions:"
  echo "$others"
  exit 1
fi
for required in GCInitLib GCCloseLib GCGetLastError GCGetInfo \
  TLOpen TLClose TLGetInfo TLGetNumInterfaces TLGetInterfaceID TLGetInterfaceInfo TLOpenInterface \
  TLUpdateInterfaceList IFClose IFGetInfo IFGetNumDevices IFGetDeviceID IFUpdateDeviceList IFGetDeviceInfo \
  IFOpenDevice IFGetParentTL DevGetPort DevGetNumDataStreams DevGetDataStreamID DevOpenDataStream DevGetInfo DevClose \
  DevGetParentIF DSAnnounceBuffer DSAllocAndAnnounceBuffer DSFlushQueue DSStartAcquisition DSStopAcquisition \
  DSGetInfo DSGetBufferID DSClose DSRevokeBuffer DSQueueBuffer DSGetBufferInfo DSGetBufferChunkData DSGetParentDev \
  DSGetNumBufferParts DSGetBufferPartInfo DSAnnounceCompositeBuffer DSGetBufferInfoStacked \
  DSGetBufferPartInfoStacked DSGetNumFlows DSGetFlowInfo DSGetNumBufferSegments DSGetBufferSegmentInfo; do
  grep -qx "$required" <<<"$exported" || { echo "missing export: $required"; exit 1; }
done
echo "$(wc -l <<<"$exported") GenTL functions exported, nothing else"
