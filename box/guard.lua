-- Runs in lighttpd for each request to what a foreign page must not reach: refuses one whose Origin is not this host.
-- The other two marks of a foreign request, Sec-Fetch-Site and Host, are checked in lighttpd.conf.
local origin = lighty.r.req_header["Origin"]
if origin then
  local host = (lighty.r.req_header["Host"] or ""):lower()
  origin = origin:lower()
  if origin ~= "http://" .. host and origin ~= "https://" .. host then return 403 end
end
return 0
