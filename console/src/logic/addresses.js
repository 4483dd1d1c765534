// Checks new address, netmask and gateway of a unit together, across draft and site. A unit with a wrong address is no
// longer reachable: somebody has to go there to correct it.

const staticKey = 'IP.STATIC_ADDRESS';
const maskKey = 'IP.STATIC_NETMASK';
const gatewayKey = 'IP.STATIC_GATEWAY';
const presentKey = 'IP.ADDRESS';

// Four numbers without leading zeros, which would be read as octal.
export const isAddress = (value) =>
  /^(0|[1-9]\d{0,2})(\.(0|[1-9]\d{0,2})){3}$/.test(value) && value.split('.').every((part) => part < 256);

const numberOf = (address) =>
  address.split('.').reduce((number, part) => number * 256 + Number(part), 0) >>> 0;
const isIn = (address, other, mask) =>
  (numberOf(address) & numberOf(mask)) >>> 0 === (numberOf(other) & numberOf(mask)) >>> 0;

// True when the host bits of the address are all 0 or all 1. Does not apply to /31 and /32.
function isNetworkOrBroadcast(address, mask) {
  const hostBits = ~numberOf(mask) >>> 0;
  const host = (numberOf(address) & hostBits) >>> 0;
  return hostBits > 1 && (host === 0 || host === hostBits);
}

// Returns the codes of a row's address problems, in a fixed order. settings(key) is the value to be sent and before(key)
// the unit's present one, both '' if none. isAnothersNow(address) is true when another unit of the draft has the address
// at present.
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
