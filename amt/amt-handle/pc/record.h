// Factory records: small files that must outlive the process and a power cut.
#pragma once

// The end of every record write, after the file was closed: waits 50 ms, runs the platform's sync, and both again.
void amt_flush_records();
