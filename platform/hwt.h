// The phone's closed device-test library, libhwt.so: radios and their RF tests. All operations block until they are
// done and give 0 for success; any other value is a failure, and is only logged.
#pragma once

extern "C" {

int hwt_btCtrl(int on);  // 1 switches Bluetooth on, 0 off
int hwt_btCheck(void);
int hwt_wifiCtrl(int on);  // 1 switches WiFi on, for tests, 0 off
int hwt_wifiCheck(void);
// start 1: transmits on the channel without a pause; the rate is an unsigned 16-bit number as the station sent it, the
// power a signed one. start 0, all the others 0: stops.
int hwt_TxTest(int start, int power, int rate, int channel);
// start 1: receives on the channel, count null. start 0, rate 0: stops, and stores how many packets came.
int hwt_RxTest(int start, int channel, int rate, int* count);
// op 1 starts GPS, 0 stops it: index 0, both pointers null. op 2 reads the satellite in a slot: its id, and its
// carrier-to-noise value.
int hwt_gpsCtrl(int op, int index, int* svid, int* cnr);
int hwt_gpsCheck(void);

}  // extern "C"
