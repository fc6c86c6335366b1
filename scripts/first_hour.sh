#!/bin/sh
# A first hour with the tool, on the sample extract: from nothing to a change that arrives. Takes the connection, the
# extract and the log directory from QRXCTL_CONNECTION, QRXCTL_ERP and QRXCTL_LOG_DIR; qrxctl is the one in PATH.
set -eux
qrxctl init
qrxctl check
qrxctl copy --all --full
qrxctl copy tssoc200 --incremental --since "2025-06-20 00:00:00"
qrxctl status
qrxctl history
qrxctl unlock --all
