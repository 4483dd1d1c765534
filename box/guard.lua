-- Runs in lighttpd for commands and for the files that describe the site: refuses a request whose Origin is another host.
-- lighttpd.conf itself checks Sec-Fetch-Site and Host.
local origin = lighty.r.req_header["Origin"]
if origin then
  local host = (lighty.r.req_header["Host"] or ""):lower()
  origin = origin:lower()
  if origin ~= "http://" .. host and origin ~= "https://" .. host then return 403 end
end
return 0
