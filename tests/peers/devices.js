// Opens each device on the bus and shows its name.
const { getDeviceList } = require('usb');

const hex = (number) => number.toString(16).padStart(4, '0');
for (const device of getDeviceList()) {
  const { idVendor, idProduct, iProduct } = device.deviceDescriptor;
  device.open();
  device.getStringDescriptor(iProduct, (error, name) => {
    if (error) throw error;
    const { bConfigurationValue, bNumInterfaces } = device.configDescriptor;
    const interfaces = bNumInterfaces === 1 ? '1 interface' : `${bNumInterfaces} interfaces`;
    console.log(`${hex(idVendor)}:${hex(idProduct)} "${name}" configuration ${bConfigurationValue}, ${interfaces}`);
    device.close();
  });
}
