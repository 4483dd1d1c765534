// What a new address would do to a unit, looked at together with its mask and gateway, over draft and site: an address
// that cuts a unit off can be put right only where the unit stands.

const staticKey = 'IP.STATIC_ADDRESS';
const maskKey = 'IP.STATIC_NETMASK';
const gatewayKey = 'IP.STATIC_GATEWAY';
const presentKey = 'IP.ADDRESS';

const numberOf = (address) =>
  address.split('.').reduce((number, part) => number * 256 + Number(part), 0) >>> 0;
const isIn = (address, other, mask) =>
  (numberOf(address) & numberOf(mask)) >>> 0 === (numberOf(other) & numberOf(mask)) >>> 0;

// Whether the host's part of the address is all zeros or all ones; networks of one or two addresses have neither.
function isNetworkOrBroadcast(address, mask) {
  const hostBits = ~numberOf(mask) >>> 0;
  const host = (numberOf(address) & hostBits) >>> 0;
  return hostBits > 1 && (host === 0 || host === hostBits);
}

// The faults and doubts of one row's addresses: codes in the order in which they are told. `settings` and `before` give
// the text of a key that is sent and that the unit has now, an empty one when there is none; `isAnothersNow(address)`
// tells whether another unit of the draft has it at the moment.
export function addressProblems(settings, before, isAnothersNow) {
  if (![staticKey, maskKey, gatewayKey].some((key) => settings(key))) return [];
  const then = (key) => settings(key) || before(key);
  const address = then(staticKey);
  const [mask, gateway, present] = [then(maskKey), then(gatewayKey), before(presentKey)];
  if (!address) return [];
  const hasGateway = gateway !== '' && gateway !== '0.0.0.0';
  return [
    mask && isNetworkOrBroadcast(address, mask) && 'address-network',
    hasGateway && gateway === address && 'gateway-self',
    hasGateway && gateway !== address && mask && !isIn(gateway, address, mask) && 'gateway-outside',
    settings(staticKey) && present && mask && !isIn(present, address, mask) && 'address-moves',
    settings(staticKey) && isAnothersNow(address) && 'address-handed-on',
  ].filter(Boolean);
}
