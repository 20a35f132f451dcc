-- What wrk sends to the lab server: a report of cycle data, without a key.
wrk.method = "POST"
wrk.headers["Content-Type"] = "application/json"
wrk.body = '[{"barcode":"CELL-0001","cycleId":1,"capacity":3.17,"energy":11.4,"startTime":"2026-01-01 00:00:00"}]'
