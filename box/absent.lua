-- Runs in lighttpd for the files that commands leave behind: one that is not there yet is no error, but an empty answer.
-- A browser would log a 404 each time the console looks for it.
if not lighty.c.stat(lighty.r.req_attr["physical.path"]) then return 204 end
return 0
