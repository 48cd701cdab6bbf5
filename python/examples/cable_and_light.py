"""Pull a cable, dim the light, give the board another identity."""

from service import provision_internet
from vorn_onu import Onu

with Onu.start() as onu:
    onu.board(serialNumber="ACME12345678", optics={"receive": 400, "transmit": 1000})
    onu.call.nvram_info_get()
    serial = onu.call.sn_get()
    print("serial number", serial.output["text"])
    assert serial.output["text"] == "ACME12345678"
    print("received level", onu.call.rx_laser_power_get().output["level"], "in 0.002 dB")

    provision_internet(onu)
    onu.board(links={"sid0": "down"})
    print(onu.frame(from_="sid0", expect={"dropped": "no carrier"}).text())
    onu.board(links={"sid0": "up"})
    assert onu.frame(from_="sid0").leaves
